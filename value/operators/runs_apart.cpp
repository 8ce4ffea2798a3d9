#include "operators/runs_apart.h"

#include <cstring>
#include <memory>

#include "core/crossing.h"

namespace qvo::value {
namespace {

/// Pulls a tile of a series and copies its values to another; the runs there are the caller's to set.
QVO_RET pull_values(const Series& series, qvo_seq_iterator_h to) {
    const qvo_seq_iterator_h from = series.it;
    from->tile_offs = 0;
    if (const QVO_RET rc = from->next(from); rc != QVO_S_OK) return rc;
    std::memcpy(to->tile.u.arr_uint1, from->tile.u.arr_uint1, from->tile_size * size_t{series.type.width});
    to->tile_size = from->tile_size;
    return QVO_S_OK;
}

}  // namespace

/// Hands out a tile of the series with runs of 1, and keeps its runs in the order of the elements.
class RunsApart::Values final : public Operator {
 public:
    explicit Values(const Series& series) : series_(series) {}

    QVO_RET next(qvo_seq_iterator_h it) override {
        if (const QVO_RET rc = pull_values(series_, it); rc != QVO_S_OK) return rc;
        keep_runs(runs_of(series_.it), it->tile_size);
        fill_runs(runs_of(it), it->tile_size, 1);
        it->next_seq_no += it->tile_size;
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
        if (const QVO_RET rc = pull_values(results_, it); rc != QVO_S_OK) return rc;
        put_in_tile(runs_of(it), values_.take_runs(it->tile_size), it->tile_size);
        it->next_seq_no += sum_runs(runs_of(it), it->tile_size);
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
