// Filling a stage, and joining and cutting its runs.
#include "stored/stage.h"

namespace qvo::value {
namespace {

QVO_INLINE bool all_single(const uint8_t* lowest, size_t n) {
    uint8_t other = 0;
    for (size_t i = 0; i < n; ++i) other |= static_cast<uint8_t>(lowest[i] ^ 1);
    return other == 0;
}

/// Run bytes lie downwards; lengths upwards. Returns their sum.
uint64_t widen(const uint8_t* first_run, size_t n, uint32_t* __restrict to) {
    uint64_t sum = 0;
    for (size_t i = 0; i < n; ++i) {
        const uint32_t run = *(first_run - i);
        to[i] = run;
        sum += run;
    }
    return sum;
}

/// Joins the elements from `from` on to those before, where they are equal; returns how many are left.
template <class V> size_t join_fixed(V* values, uint32_t* runs, size_t from, size_t n) {
    size_t last = from - 1;
    V value = values[last];
    uint32_t run = runs[last];
    // No branch on the data: what is in the making is stored in any case.
    for (size_t i = from; i < n; ++i) {
        const bool differs = values[i] != value;
        last += differs;
        value = values[i];
        run = (differs ? 0 : run) + runs[i];
        values[last] = value;
        runs[last] = run;
    }
    return last + 1;
}

size_t join_wide(uint8_t* values, size_t width, uint32_t* runs, size_t from, size_t n) {
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

size_t join(uint8_t* values, ValueType type, uint32_t* runs, size_t from, size_t n) {
    switch (type.type == Type::char_ ? 0 : type.width) {
        case 1:
            return join_fixed(reinterpret_cast<bits1*>(values), runs, from, n);
        case 2:
            return join_fixed(reinterpret_cast<bits2*>(values), runs, from, n);
        case 4:
            return join_fixed(reinterpret_cast<bits4*>(values), runs, from, n);
        case 8:
            return join_fixed(reinterpret_cast<bits8*>(values), runs, from, n);
        default:
            return join_wide(values, type.width, runs, from, n);
    }
}

/// Cuts runs; `fixed` is the width of the values where the loop is compiled for it.
template <size_t fixed>
void cut(const uint8_t* values, size_t width, const uint32_t* runs, size_t n, uint32_t limit, uint8_t* __restrict to,
         uint32_t* __restrict run_to) {
    if constexpr (fixed != 0) width = fixed;
    for (size_t i = 0; i < n; ++i, values += width) {
        for (uint32_t left = runs[i]; left != 0; to += width) {
            std::memcpy(to, values, width);
            const uint32_t run = std::min(left, limit);
            *run_to++ = run;
            left -= run;
        }
    }
}

}  // namespace

uint8_t* Stage::append(const void* values, size_t n) {
    if (values_.size() == 0) values_.resize(capacity_ * type_.width);
    uint8_t* const to = values_.data() + n_ * type_.width;
    std::memcpy(to, values, n * type_.width);
    has_profile_ = false;
    return to;
}

uint32_t* Stage::need_runs() {
    if (runs_.size() == 0) runs_.resize(capacity_ * sizeof(uint32_t));
    auto* const runs = reinterpret_cast<uint32_t*>(runs_.data());
    if (!has_runs_) std::fill_n(runs, n_, 1U);
    has_runs_ = true;
    return runs;
}

void Stage::add_single(const void* values, size_t n) {
    append(values, n);
    if (has_runs_) std::fill_n(need_runs() + n_, n, 1U);
    n_ += n;
    positions_ += n;
}

void Stage::add_with_runs(const void* values, const uint8_t* first_run, size_t n) {
    if (!has_runs_ && for_cpu<all_single>(first_run - n + 1, n)) return add_single(values, n);
    append(values, n);
    positions_ += widen(first_run, n, need_runs() + n_);
    n_ += n;
}

void Stage::add_run(const void* value, uint64_t positions) {
    if (positions == 1) return add_single(value, 1);
    append(value, 1);
    need_runs()[n_] = static_cast<uint32_t>(positions);
    ++n_;
    positions_ += positions;
}

void Stage::settle() {
    if (settled_ == n_) return;
    const size_t from = std::max<size_t>(1, settled_);
    size_t equal = 0;
    if (settled_ == 0 && !has_runs_) {
        equal = profile().equal;
    } else {
        equal = count_equal(elements(), from);
    }
    if (equal != 0 && worth_joining(type_.type, positions_, n_ - equal)) {
        n_ = join(values_.data(), type_, need_runs(), from, n_);
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
    const uint32_t* const old_runs = runs();
    size_t n = 0;
    for (size_t i = 0; i < n_; ++i) n += (old_runs[i] - 1) / limit + 1;
    Buffer values, runs;
    values.resize(std::max(n, capacity_) * type_.width);
    runs.resize(std::max(n, capacity_) * sizeof(uint32_t));
    auto* const new_runs = reinterpret_cast<uint32_t*>(runs.data());
    switch (type_.width) {
        case 1:
            cut<1>(values_.data(), 1, old_runs, n_, limit, values.data(), new_runs);
            break;
        case 2:
            cut<2>(values_.data(), 2, old_runs, n_, limit, values.data(), new_runs);
            break;
        case 4:
            cut<4>(values_.data(), 4, old_runs, n_, limit, values.data(), new_runs);
            break;
        case 8:
            cut<8>(values_.data(), 8, old_runs, n_, limit, values.data(), new_runs);
            break;
        default:
            cut<0>(values_.data(), type_.width, old_runs, n_, limit, values.data(), new_runs);
    }
    values_ = std::move(values);
    runs_ = std::move(runs);
    n_ = settled_ = n;
    has_runs_ = limit != 1;
    has_profile_ = false;
}

void Stage::clear() {
    n_ = settled_ = 0;
    positions_ = 0;
    has_runs_ = has_profile_ = false;
}

}  // namespace qvo::value
