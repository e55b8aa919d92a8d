// SPDX-License-Identifier: Apache-2.0
#include "base/signal_stack.h"

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdint>

#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

namespace orca {

namespace {

thread_local std::uintptr_t stackEnd = 0; // lowest address of the thread's stack; 0: unknown

std::uintptr_t endOfThisStack() {
    pthread_attr_t attributes;
    if (::pthread_getattr_np(::pthread_self(), &attributes) != 0) return 0;
    void* lowest = nullptr;
    std::size_t size = 0;
    const bool known = ::pthread_attr_getstack(&attributes, &lowest, &size) == 0;
    ::pthread_attr_destroy(&attributes);
    return known ? reinterpret_cast<std::uintptr_t>(lowest) : 0;
}

class SignalStack {
public:
    SignalStack() {
        stack_t present{};
        // A sanitizer may have given the thread one.
        if (::sigaltstack(nullptr, &present) != 0 || !(present.ss_flags & SS_DISABLE)) return;
        constexpr long enough = 65536; // also on machines whose registers alone fill some kilobytes
        size_ = static_cast<std::size_t>(std::max(enough, ::sysconf(_SC_SIGSTKSZ)));
        memory_ = ::mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory_ == MAP_FAILED) return;
        const stack_t mine{memory_, 0, size_};
        ::sigaltstack(&mine, nullptr);
        stackEnd = endOfThisStack();
    }
    ~SignalStack() {
        if (memory_ == MAP_FAILED) return;
        const stack_t none{nullptr, SS_DISABLE, 0};
        ::sigaltstack(&none, nullptr);
        ::munmap(memory_, size_);
    }
    SignalStack(const SignalStack&) = delete;
    SignalStack& operator=(const SignalStack&) = delete;

private:
    void* memory_ = MAP_FAILED;
    std::size_t size_ = 0;
};

} // namespace

void ensureSignalStack() {
    static thread_local const SignalStack stack;
    static_cast<void>(stack);
}

bool isBeyondStack(const void* address) noexcept {
    constexpr std::uintptr_t nearby = 1u << 20; // frames of functions with large variables reach so far
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    return at < stackEnd + 4096 && at + nearby >= stackEnd;
}

} // namespace orca
