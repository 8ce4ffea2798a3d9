// Hot loops for several instruction sets: compiled beside each other, one of them chosen when the library is loaded.
//
// A loop is a function that is always inlined (QVO_INLINE); whoever calls it says for_cpu<loop>(arguments), or takes
// for_cpu<loop> as a pointer. There is no resolver that the loader runs: the choice is a number that is looked at with
// every call, which costs next to nothing beside a loop, works with every compiler and under sanitizers, and can be
// forced (see cpu_level). Every variant gives the same bits: none may contract or reorder.
#pragma once

#include <cstdint>

#if defined(QVO_CPU_DISPATCH) && QVO_CPU_DISPATCH && defined(__x86_64__)
#define QVO_WIDE_X86 1
// Functions with these may use the instructions of a level, and are called at that level or above alone.
#define QVO_AVX2 [[gnu::target("avx2,bmi,bmi2,popcnt")]]
#define QVO_AVX512 \
    [[gnu::target("avx2,bmi,bmi2,popcnt,avx512f,avx512bw,avx512dq,avx512vl,avx512vbmi,avx512vbmi2,avx512bitalg")]]
#else
#define QVO_WIDE_X86 0
#define QVO_AVX2
#define QVO_AVX512
#endif

namespace qvo {

/// Instruction sets, each of which has those before it.
enum class CpuLevel : uint8_t {
    plain,   // what every machine has that the library is compiled for
    avx2,    // with bit manipulation, as about all have that have AVX2
    avx512,  // with moves of bytes across a vector: not the first processors with AVX-512, but those since
};

/// What the loops are chosen by: what the machine has, but not more than the environment variable QVOSEQ_CPU says
/// (plain or avx2; of a process with more rights than its user, nothing). It is set when the library is loaded, and plain
/// before that.
extern CpuLevel cpu_level;

/// Whether a loop is compiled for a level in this build.
template <CpuLevel wanted, CpuLevel most> inline constexpr bool has_variant = QVO_WIDE_X86&& wanted <= most;

template <auto loop, CpuLevel most> struct Variants;
template <class Result, class... Argument, Result (*loop)(Argument...), CpuLevel most> struct Variants<loop, most> {
    static Result chosen(Argument... arguments) {
        if constexpr (has_variant<CpuLevel::avx512, most>)
            if (cpu_level >= CpuLevel::avx512) return avx512(arguments...);
        if constexpr (has_variant<CpuLevel::avx2, most>)
            if (cpu_level >= CpuLevel::avx2) return avx2(arguments...);
        return plain(arguments...);
    }

 private:
    [[gnu::noinline]] static Result plain(Argument... arguments) { return loop(arguments...); }
    QVO_AVX2 static Result avx2(Argument... arguments) { return loop(arguments...); }
    QVO_AVX512 static Result avx512(Argument... arguments) { return loop(arguments...); }
};

/// A loop, for the machine that there is. AVX-512 is for those that gain by it.
template <auto loop, CpuLevel most = CpuLevel::avx2> inline constexpr auto for_cpu = &Variants<loop, most>::chosen;

}  // namespace qvo
