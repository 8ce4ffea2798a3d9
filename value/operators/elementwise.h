// Element-wise operators of this layer: a result for every position of one to three operands.
//
// An operation is a small struct; a loop over flat arrays is made of it, which the compiler turns into vector code. The
// walk around it is compiled once: it finds where the operands' runs overlap and hands the loop arrays, of the operands'
// tiles themselves where their runs line up, else gathered. Results keep the overlaps' runs.
#pragma once

#include <array>
#include <cstring>
#include <tuple>

#include "core/tile.h"
#include "evaluate/plan.h"

namespace qvo::value {

inline constexpr size_t most_operands = 3;

/// What a loop works on: n elements of each operand, as arrays, and where the results go.
struct Batch {
    const void* in[most_operands];
    void* out;
    size_t n;
};

/// What a loop answers: nothing, or the first element that has no result and a sentence that says why.
struct LoopFault {
    size_t element = 0;
    const char* sentence = nullptr;
};

using Loop = LoopFault (*)(const Batch& batch, const void* operation);

/// Bytes that an operation may hold: its parameters.
inline constexpr size_t most_operation_bytes = 64;

/// Walks the operands. All are of fixed width or char of any; the result as its type says.
Series elementwise(Plan& plan, ValueType type, std::span<const Series> operands, Loop loop, const void* operation,
                   size_t operation_bytes);

/// An operation that may fail: `bool operator()(V..., R& result) const` says true where it does, `fault(V...)` why.
template <class Op, class R, class... V>
concept MayFail = requires(const Op& op, R& result, V... values) {
    op(values..., result);
};

/// The loop of an operation. One that does not fail is `R operator()(V...) const`.
template <class Op, class R, class... V> struct OperationLoop {
    QVO_INLINE static LoopFault run(const Batch& batch, const void* operation) {
        return over(batch, *static_cast<const Op*>(operation), static_cast<R*>(batch.out),
                    std::index_sequence_for<V...>{});
    }

 private:
    template <size_t... K>
    QVO_INLINE static LoopFault over(const Batch& batch, const Op& op, R* __restrict out, std::index_sequence<K...>) {
        return loop(op, out, batch.n, static_cast<const V*>(batch.in[K])...);
    }
    QVO_INLINE static LoopFault loop(const Op op, R* __restrict out, size_t n, const V* __restrict... in) {
        if constexpr (MayFail<Op, R, V...>) {
            uint64_t failed = 0;
            for (size_t i = 0; i < n; ++i) failed |= uint64_t{op(in[i]..., out[i])};
            if (failed == 0) return {};
            for (size_t i = 0;; ++i)
                if (R result; op(in[i]..., result)) return {i, op.fault(in[i]...)};
        } else {
            for (size_t i = 0; i < n; ++i) out[i] = static_cast<R>(op(in[i]...));
            return {};
        }
    }
};

/// The same from the operation and the operands' value types.
template <class R, class... V, class Op>
Series elementwise(Plan& plan, ValueType type, std::span<const Series> operands, const Op& op) {
    static_assert(sizeof(Op) <= most_operation_bytes && std::is_trivially_copyable_v<Op>);
    return elementwise(plan, type, operands, for_cpu<OperationLoop<Op, R, V...>::run>, &op, sizeof op);
}

}  // namespace qvo::value
