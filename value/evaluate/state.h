// The states of aggregates as bytes, to be stored, shipped and combined.
#pragma once

#include <cstring>
#include <functional>
#include <type_traits>

#include "base/buffer.h"
#include "base/error.h"
#include "evaluate/datum.h"
#include "evaluate/function.h"

namespace qvo::value {

/// Appends numbers and records of numbers as they lie in memory (little-endian).
template <class V> void put(Buffer& to, const V& value) {
    static_assert(std::is_trivially_copyable_v<V>);
    to.append(&value, sizeof value);
}
void put_scalar(Buffer& to, const Scalar& scalar);

/// Reads them again, and trusts nothing.
class StateReader {
 public:
    explicit StateReader(std::span<const uint8_t> bytes) : rest_(bytes) {}
    template <class V> V take() {
        static_assert(std::is_trivially_copyable_v<V>);
        V value;
        std::memcpy(&value, take_bytes(sizeof value).data(), sizeof value);
        return value;
    }
    std::span<const uint8_t> take_bytes(size_t n) {
        if (rest_.size() < n) damaged();
        const std::span<const uint8_t> bytes = rest_.first(n);
        rest_ = rest_.subspan(n);
        return bytes;
    }
    Scalar take_scalar();
    size_t left() const { return rest_.size(); }
    [[noreturn]] static void damaged();

 private:
    std::span<const uint8_t> rest_;
};

/// The state of an aggregate with the name of its function and a checksum; the second from what writes the state.
Buffer save_state(const Function& function, const Aggregate& aggregate);
Buffer save_state(const Function& function, const std::function<void(Buffer& to)>& save);

/// The function whose state it is, and what it wrote. Throws where the bytes are no state.
struct SavedState {
    const Function* function;
    std::span<const uint8_t> state;
};
SavedState read_state(std::span<const uint8_t> bytes);

/// Folds in a state of the aggregate's function, to its last byte.
void merge_state(Aggregate& aggregate, const SavedState& saved);

/// The aggregate of that function, with the state folded in.
std::unique_ptr<Aggregate> restore(const SavedState& saved);

}  // namespace qvo::value
