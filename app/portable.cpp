// SPDX-License-Identifier: Apache-2.0
#include "portable.h"

#include "render/checkpoint/checkpoint_file.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>

#if defined(__SSE__)
#include <xmmintrin.h>
#endif
#include <unistd.h>

namespace orca::app {

namespace {

constexpr const char* variable = "GLIBC_TUNABLES";
constexpr const char* tunable = "glibc.cpu.hwcaps=-AVX,-AVX2,-FMA,-FMA4";

} // namespace

bool useCommonMathematics(char** arguments) {
    const char* const given = std::getenv(variable);
    std::string value = given ? given : "";
    if (value.find(tunable) != std::string::npos) return true;
    value += value.empty() ? "" : ":";
    value += tunable;
    if (::setenv(variable, value.c_str(), 1) != 0) return false;
    std::error_code failure; // its own path, so that the process keeps its name
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", failure);
    ::execv(program.c_str(), arguments);
    return false;
}

std::string arithmetic() {
    render::Checksum checksum;
    const auto add = [&](auto result) { checksum.add(&result, sizeof result); };
    constexpr int inputs = 4096;
    for (int i = 1; i <= inputs; ++i) {
        const double x = i * 0.01713;
        const double unit = i / (inputs + 1.0);
        for (const double result :
             {std::sin(x), std::cos(x), std::tan(x), std::exp(x), std::log(x), std::pow(x, 1.7), std::atan(x),
              std::atan2(x, 3.0), std::acos(unit), std::asin(unit)})
            add(result);
        const auto small = static_cast<float>(x), smallUnit = static_cast<float>(unit);
        for (const float result : {std::sin(small), std::cos(small), std::tan(small), std::exp(small),
                                   std::log(small), std::pow(small, 1.7f), std::atan(small),
                                   std::atan2(small, 3.0f), std::acos(smallUnit), std::asin(smallUnit)})
            add(result);
#if defined(__SSE__)
        add(_mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(small))));
        add(_mm_cvtss_f32(_mm_rsqrt_ss(_mm_set_ss(small))));
#endif
    }
    return fmt::format("{:016x}", checksum.value());
}

} // namespace orca::app
