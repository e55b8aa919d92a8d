// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

namespace orca::api {

struct Query {
    miQ_type code;
    miState* state;
    miTag tag;
    void* result;

    template <class T>
    void answer(const T& value) const {
        *static_cast<T*>(result) = value;
    }
};

enum class Answer { Given, Unavailable, NotMine };

// One family of questions each; NotMine passes the question on.
Answer answerAboutState(const Query& query);
Answer answerAboutFunction(const Query& query);
Answer answerAboutInstance(const Query& query);
Answer answerAboutLight(const Query& query);
Answer answerAboutUserdata(const Query& query);
Answer answerAboutRenderer(const Query& query);

} // namespace orca::api
