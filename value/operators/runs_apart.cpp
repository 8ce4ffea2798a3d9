#include "operators/runs_apart.h"

#include <cstring>
#include <memory>

#include "core/crossing.h"

namespace qvo::value {

/// Hands out a tile of the series with runs of 1, and keeps its runs in the order of the elements.
class RunsApart::Values final : public Operator {
 public:
    explicit Values(const Series& series) : series_(series) {}

    QVO_RET next(qvo_seq_iterator_h it) override {
        const qvo_seq_iterator_h from = series_.it;
        from->tile_offs = 0;
        if (const QVO_RET rc = from->next(from); rc != QVO_S_OK) return rc;
        const size_t n = from->tile_size;
        std::memcpy(it->tile.u.arr_uint1, from->tile.u.arr_uint1, n * series_.type.width);
        fill_runs(runs_of(it), n, 1);
        it->tile_size = static_cast<uint16_t>(n);
        it->next_seq_no += n;
        keep_runs(runs_of(from), n);
        return QVO_S_OK;
    }
    /// The runs of the next n values, of which no more are asked for than were handed out.
    const uint8_t* take_runs(size_t n) { return runs_ + (taken_ += n) - n; }

 private:
    void keep_runs(const uint8_t* first_run, size_t n) {
        kept_ -= taken_;
        std::memmove(runs_, runs_ + taken_, kept_);
        taken_ = 0;
        copy_in_order(runs_ + kept_, first_run, n);
        kept_ += n;
    }

    // An operator asks for a tile when it has used up the one before, to put it into a tile of its own.
    static constexpr size_t most = 2 * capacity_of(1);
    Series series_;
    uint8_t runs_[most + run_word];  // of what was handed out, of which the first were taken
    size_t kept_ = 0, taken_ = 0;
};

class RunsApart::Results final : public Operator {
 public:
    Results(const Series& results, Values& values) : results_(results), values_(values) {}

    QVO_RET next(qvo_seq_iterator_h it) override {
        const qvo_seq_iterator_h from = results_.it;
        from->tile_offs = 0;
        if (const QVO_RET rc = from->next(from); rc != QVO_S_OK) return rc;
        const size_t n = from->tile_size;
        std::memcpy(it->tile.u.arr_uint1, from->tile.u.arr_uint1, n * results_.type.width);
        const uint8_t* const runs = values_.take_runs(n);
        put_in_tile(runs_of(it), runs, n);
        it->tile_size = static_cast<uint16_t>(n);
        it->next_seq_no += sum_runs(runs_of(it), n);
        return QVO_S_OK;
    }

 private:
    Series results_;
    Values& values_;
};

RunsApart::RunsApart(Plan& plan, const Series& series) : plan_(plan), series_(series) {
    auto source = std::make_unique<Values>(series);
    source_ = source.get();
    values_ = plan.add(series.type, std::move(source));
}

Series RunsApart::with_runs(const Series& results) const {
    return plan_.make<Results>(results.type, series_.length, results, *source_);
}

}  // namespace qvo::value
