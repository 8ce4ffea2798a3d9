// The elements of a tile that is being filled, with their runs.
//
// Runs are kept only once there is one that is not 1. Equal neighbours are joined when the stage is full, over the
// elements that came since the last time, and only where that makes it a good deal shorter: nothing is looked at twice.
#pragma once

#include <algorithm>

#include "stored/coding.h"

namespace qvo::value {

class Stage {
 public:
    explicit Stage(ValueType type)
        : type_(type), capacity_(std::max<size_t>(1, format::full_tile_values / type.width)) {}

    size_t capacity() const { return capacity_; }
    size_t size() const { return n_; }
    size_t room() const { return capacity_ - n_; }
    uint64_t positions() const { return positions_; }
    Elements elements() const { return {type_, values(), n_}; }
    /// Run lengths, or null if all are 1.
    const uint32_t* runs() const { return has_runs_ ? reinterpret_cast<const uint32_t*>(runs_.data()) : nullptr; }

    /// Whether an element or several of so many positions still fit; the sum of all runs must stay a run length.
    bool takes(uint64_t positions) const {
        return positions <= most_positions && positions_ + positions <= most_positions;
    }

    /// Puts the values of the elements to come, while it has none, into memory with room for all, until clear().
    void lie_in(uint8_t* memory) { lent_ = memory; }
    bool lent() const { return lent_ != nullptr; }
    /// Takes them into memory of its own again.
    void come_home();

    void add_single(const void* values, size_t n);
    void add_with_runs(const void* values, const uint8_t* first_run, size_t n);
    void add_run(const void* value, uint64_t positions);

    /// Joins equal neighbours if that is worth it.
    void settle();
    /// The profile of all elements, which are settled.
    const Profile& profile();
    /// Cuts runs into such of at most `limit`; only as many elements as a tile may have must come of it.
    void cut_runs(uint32_t limit);
    void clear();
    /// Gives its values away, those before the last clear() if nothing came since. Then it may only be destroyed.
    Buffer release() { return std::move(values_); }

 private:
    static constexpr uint64_t most_positions = uint64_t{1} << 31;

    const uint8_t* values() const { return lent_ != nullptr ? lent_ : values_.data(); }
    uint8_t* values() { return lent_ != nullptr ? lent_ : values_.data(); }
    void append(const void* values, size_t n);
    uint32_t* need_runs(size_t more);

    ValueType type_;
    size_t capacity_;
    Buffer values_, runs_;
    uint8_t* lent_ = nullptr;  // where the values lie instead
    size_t n_ = 0, settled_ = 0;
    uint64_t positions_ = 0;
    bool has_runs_ = false, has_profile_ = false;
    Profile profile_;
};

/// Joining pays if it leaves two elements of three, or fewer.
constexpr bool worth_joining(uint64_t positions, size_t elements) { return 2 * positions >= 3 * uint64_t{elements}; }
/// The same where the profile of the values is known: those of a bit or two are fewer still, beside a byte for each run.
bool worth_joining(const Elements& elements, const Profile& profile);

}  // namespace qvo::value
