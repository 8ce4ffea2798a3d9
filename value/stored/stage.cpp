// Filling a stage, and joining and cutting its runs.
#include "stored/stage.h"

#include <bit>
#include <numeric>
#include <utility>

#include "core/move.h"
#include "stored/bits.h"
#include "stored/run_lengths.h"

namespace qvo::value {
namespace {

QVO_INLINE bool all_single(const uint8_t* lowest, size_t n) {
    uint8_t other = 0;
    for (size_t i = 0; i < n; ++i) other |= static_cast<uint8_t>(lowest[i] ^ 1);
    return other == 0;
}

/// Run bytes lie downwards; lengths upwards. Returns their sum.
QVO_INLINE uint64_t widen(const uint8_t* first_run, size_t n, uint32_t* __restrict to) {
    uint64_t sum = 0;
    for (size_t i = 0; i < n; ++i) {
        const uint32_t run = *(first_run - i);
        to[i] = run;
        sum += run;
    }
    return sum;
}

constexpr size_t block = 64;

/// A bit for each of so many values: whether it differs from the one before it.
template <class V> QVO_INLINE uint64_t differences(const V* values) {
    const V* const before = values - 1;
    uint8_t differs[block];
    for (size_t k = 0; k < block; ++k) differs[k] = values[k] != before[k];
    uint64_t bits = 0;
    // The product has the low bits of all eight bytes in its highest byte.
    for (size_t k = 0; k < block; k += 8)
        bits |= (format::load<uint64_t>(differs + k) * 0x0102040810204080U >> 56) << k;
    return bits;
}

/// Joins the elements from `from` on to those before, where they are equal; returns how many are left. If all runs are
/// single they are written only.
template <class V> size_t join_fixed(V* values, uint32_t* runs, bool single, size_t from, size_t n) {
    size_t last = from - 1;
    uint32_t begin = 0, position = single ? 1 : runs[last];  // of the last element, and where the next one begins
    for (size_t i = from; i < n; i += block) {
        const size_t here = std::min(block, n - i);
        uint64_t differs = 0;
        if (here == block)
            differs = for_cpu<differences<V>>(values + i);
        else
            for (size_t k = 0; k < here; ++k) differs |= uint64_t{values[i + k] != values[i + k - 1]} << k;
        if (differs == 0) {
            position += single ? static_cast<uint32_t>(here) : std::accumulate(runs + i, runs + i + here, 0U);
            continue;
        }
        uint32_t begins[block];
        for (size_t k = 0; k < here; ++k) {
            begins[k] = position;
            position += single ? 1 : runs[i + k];
        }
        for (; differs != 0; differs &= differs - 1) {
            const auto k = static_cast<size_t>(std::countr_zero(differs));
            runs[last] = begins[k] - begin;
            begin = begins[k];
            values[++last] = values[i + k];
        }
    }
    runs[last] = position - begin;
    return last + 1;
}

template <size_t fixed> size_t join_wide(uint8_t* values, size_t any_width, uint32_t* runs, size_t from, size_t n) {
    const size_t width = fixed != 0 ? fixed : any_width;
    size_t last = from - 1;
    for (size_t i = from; i < n; ++i) {
        if (std::memcmp(values + i * width, values + last * width, width) == 0) {
            runs[last] += runs[i];
        } else {
            ++last;
            if (last != i) std::memcpy(values + last * width, values + i * width, width);
            runs[last] = runs[i];
        }
    }
    return last + 1;
}

size_t join(uint8_t* values, ValueType type, uint32_t* runs, bool single, size_t from, size_t n) {
    switch (type.type == Type::char_ ? 0 : type.width) {
        case 1:
            return join_fixed(reinterpret_cast<bits1*>(values), runs, single, from, n);
        case 2:
            return join_fixed(reinterpret_cast<bits2*>(values), runs, single, from, n);
        case 4:
            return join_fixed(reinterpret_cast<bits4*>(values), runs, single, from, n);
        case 8:
            return join_fixed(reinterpret_cast<bits8*>(values), runs, single, from, n);
        default:
            if (single) std::fill_n(runs, n, 1U);
            return with_fixed_width(type.width,
                                    [&](auto fixed) { return join_wide<fixed>(values, type.width, runs, from, n); });
    }
}

// Pieces of a run that are written without a look at how many it has: what is too much is written over by the next.
constexpr uint32_t some_pieces = 4;

/// Cuts runs at a limit of two bytes at most, and writes up to some_pieces - 1 elements more than come of it.
template <class Mover>
void cut(const Mover& mover, const uint8_t* values, const uint32_t* runs, size_t n, uint32_t limit,
         uint8_t* __restrict to, uint32_t* __restrict run_to) {
    size_t at = 0;
    for (size_t i = 0; i < n; ++i) {
        for (uint32_t left = runs[i], taken = 0; left != 0; left -= taken) {
            uint32_t pieces = 0;
            for (uint32_t k = 0; k < some_pieces; ++k) {
                const uint32_t rest = left > k * limit ? left - k * limit : 0;
                run_to[at + k] = std::min(rest, limit);
                pieces += rest != 0;
                mover.move(to, at + k, values, i);
            }
            at += pieces;
            taken = std::min(left, some_pieces * limit);
        }
    }
}

}  // namespace

bool worth_joining(const Elements& elements, const Profile& profile) {
    if (!worth_joining(elements.n, elements.n - profile.equal)) return false;
    const Type type = elements.type.type;
    if (type == Type::char_ || is_floating(type)) return true;
    const uint64_t range = with_fixed(type, [&](auto tag) {
        using V = typename decltype(tag)::value;
        return static_cast<uint64_t>(profile.largest.as<V>()) - static_cast<uint64_t>(profile.smallest.as<V>());
    });
    const unsigned bits = bits_for(range);
    return range == 0 || bits > 2 || 2 * bits * elements.n >= (bits + 8) * (elements.n - profile.equal);
}

void Stage::append(const void* values, size_t n) {
    if (lent_ == nullptr && values_.size() < capacity_ * type_.width) values_.resize(capacity_ * type_.width);
    std::memcpy(this->values() + n_ * type_.width, values, n * type_.width);
    has_profile_ = false;
}

void Stage::come_home() {
    if (lent_ == nullptr) return;
    values_.resize(capacity_ * type_.width);
    std::memcpy(values_.data(), std::exchange(lent_, nullptr), n_ * type_.width);
}

/// With room for so many more than there are elements: seldom is a stage with runs filled to its end.
uint32_t* Stage::need_runs(size_t more) {
    runs_.resize((n_ + more) * sizeof(uint32_t));
    auto* const runs = reinterpret_cast<uint32_t*>(runs_.data());
    if (!has_runs_) std::fill_n(runs, n_, 1U);
    has_runs_ = true;
    return runs;
}

void Stage::add_single(const void* values, size_t n) {
    append(values, n);
    if (has_runs_) std::fill_n(need_runs(n) + n_, n, 1U);
    n_ += n;
    positions_ += n;
}

void Stage::add_with_runs(const void* values, const uint8_t* first_run, size_t n) {
    if (!has_runs_ && for_cpu<all_single>(first_run - n + 1, n)) return add_single(values, n);
    append(values, n);
    positions_ += for_cpu<widen>(first_run, n, need_runs(n) + n_);
    n_ += n;
}

void Stage::add_run(const void* value, uint64_t positions) {
    if (positions == 1) return add_single(value, 1);
    append(value, 1);
    need_runs(1)[n_] = static_cast<uint32_t>(positions);
    ++n_;
    positions_ += positions;
}

void Stage::settle() {
    if (settled_ == n_) return;
    const size_t from = std::max<size_t>(1, settled_);
    bool worth;
    if (settled_ == 0 && !has_runs_) {
        worth = worth_joining(elements(), profile());
    } else {
        const size_t equal = count_equal(elements(), from);
        worth = equal != 0 && worth_joining(positions_, n_ - equal);
    }
    if (worth) {
        runs_.resize(n_ * sizeof(uint32_t));
        n_ = join(values(), type_, reinterpret_cast<uint32_t*>(runs_.data()), !has_runs_, from, n_);
        has_runs_ = true;
        has_profile_ = false;
    }
    settled_ = n_;
}

const Profile& Stage::profile() {
    if (!has_profile_) profile_ = profile_of(elements());
    has_profile_ = true;
    return profile_;
}

void Stage::cut_runs(uint32_t limit) {
    const size_t n = pieces_of(runs(), n_, limit), room = n + some_pieces - 1;
    Buffer values, runs;
    values.resize(room * type_.width);
    runs.resize(room * sizeof(uint32_t));
    with_mover(type_.width, [&](auto mover) {
        cut(mover, this->values(), this->runs(), n_, limit, values.data(), reinterpret_cast<uint32_t*>(runs.data()));
    });
    values_ = std::move(values);
    lent_ = nullptr;
    runs_ = std::move(runs);
    n_ = settled_ = n;
    has_runs_ = limit != 1;
    has_profile_ = false;
}

void Stage::clear() {
    n_ = settled_ = 0;
    positions_ = 0;
    lent_ = nullptr;
    has_runs_ = has_profile_ = false;
}

}  // namespace qvo::value
