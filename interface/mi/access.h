// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "database.h"

#ifdef __cplusplus

namespace mi {
namespace shader_v3 {

/// A database element's record, pinned for the object's lifetime; empty for an unknown tag. Nothing checks
/// that the element is a `Record`: `type()` tells.
template <class Record>
class Access {
public:
    explicit Access(miTag tag)
        : tag_(tag), record_(tag == miNULLTAG ? nullptr : static_cast<Record*>(mi_db_access(tag))) {}
    ~Access() {
        if (record_) mi_db_unpin(tag_);
    }
    Access(const Access&) = delete;
    Access& operator=(const Access&) = delete;

    Record* operator->() const { return record_; }
    Record& operator*() const { return *record_; }
    Record* get_pointer() const { return record_; }
    explicit operator bool() const { return record_ != nullptr; }
    /// One of `miScene_type`.
    int type() const { return mi_db_type(tag_); }

private:
    miTag tag_;
    Record* record_;
};

} // namespace shader_v3

namespace shader = shader_v3;
} // namespace mi

#endif
