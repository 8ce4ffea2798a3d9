// What the machine can do, found out when the library is loaded.
#include "cpu.h"

#include <cstdlib>
#include <cstring>

namespace qvo {

constinit CpuLevel cpu_level = CpuLevel::plain;

#if QVO_WIDE_X86
namespace {

CpuLevel level_of_machine() {
    __builtin_cpu_init();
    if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("bmi") || !__builtin_cpu_supports("bmi2") ||
        !__builtin_cpu_supports("popcnt"))
        return CpuLevel::plain;
    if (!__builtin_cpu_supports("avx512f") || !__builtin_cpu_supports("avx512bw") ||
        !__builtin_cpu_supports("avx512dq") || !__builtin_cpu_supports("avx512vl") ||
        !__builtin_cpu_supports("avx512vbmi") || !__builtin_cpu_supports("avx512vbmi2") ||
        !__builtin_cpu_supports("avx512bitalg"))
        return CpuLevel::avx2;
    return CpuLevel::avx512;
}

CpuLevel level_wanted() {
    const char* const name = secure_getenv("QVOSEQ_CPU");
    if (name != nullptr && std::strcmp(name, "plain") == 0) return CpuLevel::plain;
    if (name != nullptr && std::strcmp(name, "avx2") == 0) return CpuLevel::avx2;
    return CpuLevel::avx512;
}

// Before the constructors of objects, which may call the library.
[[gnu::constructor(101)]] void set_level() {
    const CpuLevel machine = level_of_machine(), wanted = level_wanted();
    cpu_level = wanted < machine ? wanted : machine;
}

}  // namespace
#endif

}  // namespace qvo
