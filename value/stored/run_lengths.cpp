// Checking, choosing and writing run lengths.
#include "stored/run_lengths.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace qvo::value {
namespace {

using namespace format;

/// The sum of bytes, and whether one of them is 0.
struct ByteSum {
    uint64_t sum = 0;
    bool any_zero = false;
};

QVO_INLINE ByteSum sum_bytes(const uint8_t* bytes, size_t n) {
    constexpr uint64_t ones = 0x0101010101010101U, even = 0x00ff00ff00ff00ffU;
    ByteSum result;
    uint64_t zeros = 0;
    size_t i = 0;
    while (i + 8 <= n) {
        // Lanes of 16 bits take 128 sums of two bytes.
        uint64_t lanes = 0;
        const size_t words = std::min<size_t>(128, (n - i) / 8);
        for (size_t k = 0; k < words; ++k) {
            const auto word = load<uint64_t>(bytes + i + 8 * k);
            lanes += (word & even) + ((word >> 8) & even);
            zeros |= (word - ones) & ~word;
        }
        i += 8 * words;
        for (unsigned shift = 0; shift < 64; shift += 16) result.sum += (lanes >> shift) & 0xffff;
    }
    result.any_zero = (zeros & (ones << 7)) != 0;
    for (; i < n; ++i) {
        result.sum += bytes[i];
        result.any_zero |= bytes[i] == 0;
    }
    return result;
}

template <class R> bool sum_matches(const uint8_t* runs, size_t n, uint64_t positions) {
    uint64_t sum = 0;
    bool sound = true;
    for (size_t i = 0; i < n; ++i) {
        const R run = load<R>(runs + i * sizeof(R));
        sum += run;
        sound &= run != 0;
    }
    return sound && sum == positions;
}

template <> bool sum_matches<uint8_t>(const uint8_t* runs, size_t n, uint64_t positions) {
    const ByteSum bytes = for_cpu<sum_bytes>(runs, n);
    return !bytes.any_zero && bytes.sum == positions;
}

// Vectors have no division, but products that stand for one by a constant.
template <uint32_t limit> QVO_INLINE uint64_t count_pieces(const uint32_t* runs, size_t n) {
    uint64_t pieces = n;
    for (size_t i = 0; i < n; ++i) pieces += (runs[i] - 1) / limit;
    return pieces;
}

template <class Run> QVO_INLINE void narrow_runs(const uint32_t* __restrict runs, size_t n, uint8_t* __restrict to) {
    for (size_t i = 0; i < n; ++i) store(to + i * sizeof(Run), static_cast<Run>(runs[i]));
}

QVO_INLINE uint32_t longest_of(const uint32_t* runs, size_t n) {
    uint32_t most = 0;
    for (size_t i = 0; i < n; ++i) most = std::max(most, runs[i]);
    return most;
}

}  // namespace

bool RunLengths::match(size_t n, uint64_t positions) const {
    switch (width) {
        case 1:
            return sum_matches<uint8_t>(bytes, n, positions);
        case 2:
            return sum_matches<uint16_t>(bytes, n, positions);
        default:
            return sum_matches<uint32_t>(bytes, n, positions);
    }
}

uint64_t pieces_of(const uint32_t* runs, size_t n, uint32_t limit) {
    switch (limit) {
        case 1:
            return std::accumulate(runs, runs + n, uint64_t{0});
        case UINT8_MAX:
            return for_cpu<count_pieces<UINT8_MAX>>(runs, n);
        default:
            return for_cpu<count_pieces<UINT16_MAX>>(runs, n);
    }
}

uint64_t sum_run_bytes(const uint8_t* lowest, size_t n) { return for_cpu<sum_bytes>(lowest, n).sum; }

uint32_t longest_run(const uint32_t* runs, size_t n) { return for_cpu<longest_of>(runs, n); }

RunForm run_form(const uint32_t* runs, size_t n, uint64_t value_bits) {
    RunForm best{~uint32_t{0}, 4, n * (value_bits + 32) / 8};
    const uint32_t most = longest_run(runs, n);
    for (const auto& [limit, width] : {std::pair{unsigned{UINT16_MAX}, 2U}, std::pair{unsigned{UINT8_MAX}, 1U}}) {
        const uint64_t elements = most <= limit ? n : pieces_of(runs, n, limit);
        const uint64_t size = elements * (value_bits + 8 * width) / 8;
        if (size <= best.size) best = {limit, width, size};
    }
    return best;
}

void write_runs(const uint32_t* runs, size_t n, unsigned width, uint8_t* to) {
    switch (width) {
        case 1:
            return for_cpu<narrow_runs<uint8_t>>(runs, n, to);
        case 2:
            return for_cpu<narrow_runs<uint16_t>>(runs, n, to);
        default:
            std::memcpy(to, runs, 4 * n);
    }
}

}  // namespace qvo::value
