#include "operators/elementwise.h"

#include <algorithm>
#include <cstring>

#include "evaluate/source.h"
#include "operators/overlaps.h"

namespace qvo::value {
namespace {

/// What walks over any number of operands have in common: the loop, and its faults.
class Walk : public Operator {
 protected:
    Walk(size_t width, Loop loop, const void* operation, size_t bytes) : width_(width), loop_(loop) {
        if (bytes != 0) std::memcpy(operation_, operation, bytes);
    }
    size_t capacity() const { return capacity_of(width_); }
    /// Computes the next n result elements.
    void compute(qvo_seq_iterator_h it, const TileWriter& out, Batch& batch) const {
        batch.out = it->tile.u.arr_uint1 + out.size() * width_;
        const LoopFault fault = loop_(batch, operation_);
        if (fault.sentence != nullptr) fail_at(it->next_seq_no + out.positions(), fault);
    }
    /// The positions of the elements before the one that failed are added by whoever knows their runs.
    [[noreturn]] virtual void fail_at(uint64_t first_position, const LoopFault& fault) const = 0;

    [[noreturn]] static void fail(uint64_t position, const char* sentence) {
        const bool overflow =
            std::strstr(sentence, "does not fit") != nullptr;  // else a division by zero, a missing value
        throw Error(overflow ? Fault::overflow : Fault::argument,
                    std::string(sentence) + " at position " + std::to_string(position));
    }

    size_t width_;
    Loop loop_;
    alignas(8) std::byte operation_[most_operation_bytes];
};

/// One series, beside any number of constants: results have the runs of the series.
class OneSeries final : public Walk {
 public:
    OneSeries(size_t width, std::span<const Series> operands, Loop loop, const void* operation, size_t bytes)
        : Walk(width, loop, operation, bytes), n_operands_(operands.size()) {
        std::copy(operands.begin(), operands.end(), operands_);
        while (series_ + 1 < n_operands_ && operands_[series_].constant) ++series_;
    }

    QVO_RET next(qvo_seq_iterator_h it) override {
        if (at_once_ == 0) fill_constants();
        Operand input(operands_[series_].it, Operand::Values::anywhere);
        TileWriter out(it, capacity());
        return out.finish(walk_elements(input, out, Where::here(), [&](size_t index, size_t n) {
            for (const size_t end = index + n; index != end; index += n) {
                n = std::min(end - index, at_once_);
                batch_.in[series_] = input.values() + index * operands_[series_].type.width;
                batch_.n = n;
                runs_ = input.first_run() - index;
                compute(it, out, batch_);
                out.put_runs(runs_, n);
            }
        }));
    }

 private:
    /// A tile of a constant is an array of it.
    void fill_constants() {
        at_once_ = SIZE_MAX;
        for (size_t k = 0; k < n_operands_; ++k) {
            if (k == series_) continue;
            plan->pull(operands_[k].it);
            batch_.in[k] = operands_[k].it->tile.u.arr_uint1;
            at_once_ = std::min(at_once_, size_t{operands_[k].it->tile_size});
        }
    }
    void fail_at(uint64_t first_position, const LoopFault& fault) const override {
        fail(first_position + sum_runs(runs_, fault.element), fault.sentence);
    }

    Series operands_[most_operands];
    size_t n_operands_, series_ = 0;  // which one the series is
    Batch batch_{};                   // with the constants
    size_t at_once_ = 0;              // elements that the tiles of all constants have; 0 before these are filled
    const uint8_t* runs_ = nullptr;
};

template <size_t N> class Operands final : public Walk {
 public:
    Operands(size_t width, std::span<const Series> operands, Loop loop, const void* operation, size_t bytes)
        : Walk(width, loop, operation, bytes) {
        for (size_t k = 0; k < N; ++k) {
            series_[k] = operands[k];
            gathered_.emplace_back(operands[k].type.width);
        }
    }

    QVO_RET next(qvo_seq_iterator_h it) override { return next(it, std::make_index_sequence<N>{}); }

 private:
    template <size_t... K> QVO_RET next(qvo_seq_iterator_h it, std::index_sequence<K...>) {
        Operand operands[N] = {Operand(series_[K].it)...};
        TileWriter out(it, capacity());
        QVO_RET rc = QVO_S_OK;
        while (out.room() != 0) {
            if (rc = refill_all(Where::here(), operands[K]...); rc != QVO_S_OK) break;
            if (!line_up(it, operands, out)) overlaps(it, operands, out);
        }
        (operands[K].store(), ...);
        return out.finish(rc);
    }

    /// Takes elements with the same runs on all sides, if there are some: the loop reads the tiles themselves.
    bool line_up(qvo_seq_iterator_h it, Operand (&operands)[N], TileWriter& out) {
        const RunSpan span = lined_up<N>(operands, out.room());
        if (span.elements == 0) return false;
        Batch batch{};
        batch.n = span.elements;
        for (size_t k = 0; k < N; ++k)
            batch.in[k] = series_[k].it->tile.u.arr_uint1 + operands[k].index() * series_[k].type.width;
        runs_ = operands[0].runs();
        run_step_ = -1;
        compute(it, out, batch);
        out.put_runs(runs_, span);
        for (size_t k = 0; k < N; ++k) operands[k].skip(span.elements);
        return true;
    }

    void overlaps(qvo_seq_iterator_h it, Operand (&operands)[N], TileWriter& out) {
        list_.collect(operands, out.room());
        Batch batch{};
        batch.n = list_.n;
        for (size_t k = 0; k < N; ++k) batch.in[k] = gathered_[k].gather(series_[k].it, list_.index[k], list_.n);
        runs_ = list_.run;
        run_step_ = 1;
        compute(it, out, batch);
        unsigned positions = 0;
        for (size_t i = 0; i < list_.n; ++i) {
            out.set_run_ahead(i, list_.run[i]);
            positions += list_.run[i];
        }
        out.advance({list_.n, positions});
    }

    void fail_at(uint64_t first_position, const LoopFault& fault) const override {
        uint64_t position = first_position;
        for (size_t i = 0; i < fault.element; ++i) position += runs_[static_cast<ptrdiff_t>(i) * run_step_];
        fail(position, fault.sentence);
    }

    Series series_[N];
    std::vector<Gathered> gathered_;
    OverlapList<N> list_;
    const uint8_t* runs_ = nullptr;  // of the batch, in steps of run_step_
    ptrdiff_t run_step_ = 1;
};

}  // namespace

Series elementwise(Plan& plan, ValueType type, std::span<const Series> operands, Loop loop, const void* operation,
                   size_t operation_bytes) {
    const std::optional<uint64_t> length = common_length(operands);
    const auto n_series = std::count_if(operands.begin(), operands.end(), [](const Series& s) { return !s.constant; });
    Series result;
    if (n_series <= 1)
        result = plan.make<OneSeries>(type, length, type.width, operands, loop, operation, operation_bytes);
    else if (operands.size() == 2)
        result = plan.make<Operands<2>>(type, length, type.width, operands, loop, operation, operation_bytes);
    else
        result = plan.make<Operands<3>>(type, length, type.width, operands, loop, operation, operation_bytes);
    return with_equal_lengths(plan, result, operands);
}

}  // namespace qvo::value
