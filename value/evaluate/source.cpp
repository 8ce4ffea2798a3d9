#include "evaluate/source.h"

#include <algorithm>
#include <cstring>

#include "core/move.h"
#include "core/tile.h"
#include "evaluate/expression.h"
#include "evaluate/scalar.h"

namespace qvo::value {
namespace {

class StoredSource final : public Operator {
 public:
    StoredSource(const Stored& stored, uint64_t first, uint64_t last)
        : stored_(stored), reader_(stored_), width_(stored.type().width), at_(first), last_(last) {}

    QVO_RET next(qvo_seq_iterator_h it) override {
        if (at_ >= last_) return QVO_S_CURSOR_END;
        if (!open_) open();
        uint8_t* const runs = runs_of(it);
        TileReader::Read read;
        while ((read = reader_.read(it->tile.u.arr_char, runs, capacity_of(width_))).elements == 0) {
            if (++tile_ == stored_.n_tiles()) return QVO_S_CURSOR_END;
            reader_.open(tile_);
        }
        plan->poll();
        plan->within_budget(handed_out_ += read.elements);
        if (read.positions > last_ - at_) cut(runs, read);
        at_ += read.positions;
        it->tile_size = static_cast<uint16_t>(read.elements);
        it->next_seq_no += read.positions;
        return QVO_S_OK;
    }

 private:
    void open() {
        open_ = true;
        const Stored::Place place = stored_.find(at_);
        tile_ = place.tile;
        reader_.open(tile_);
        reader_.skip(at_ - place.first_position);
    }
    /// Leaves of the elements read those up to the end of the range.
    void cut(uint8_t* runs, TileReader::Read& read) const {
        uint64_t left = last_ - at_;
        read.positions = left;
        for (size_t i = 0;; ++i) {
            const unsigned run = get_run(runs, i);
            if (run < left) {
                left -= run;
                continue;
            }
            set_run(runs, i, static_cast<unsigned>(left));
            read.elements = i + 1;
            return;
        }
    }

    Stored stored_;
    TileReader reader_;
    size_t width_;
    uint64_t at_, last_;       // positions
    uint64_t handed_out_ = 0;  // elements
    size_t tile_ = 0;
    bool open_ = false;
};

class RunSource final : public Operator {
 public:
    explicit RunSource(const RunArray& runs)
        : runs_(runs), values_(static_cast<const uint8_t*>(runs.values)), at_(runs.first), end_(runs.first + runs.n) {
        for (uint64_t beyond = runs.n_runs; run_ < beyond;) {  // the run that holds the first position
            const uint64_t middle = run_ + (beyond - run_) / 2;
            if (end_of(middle) > at_)
                beyond = middle;
            else
                run_ = middle + 1;
        }
    }

    QVO_RET next(qvo_seq_iterator_h it) override {
        if (at_ == end_) return QVO_S_CURSOR_END;
        const size_t width = runs_.type.width;
        TileWriter out(it, capacity_of(width));
        with_mover(width, [&](auto mover) {
            while (at_ != end_ && out.room() != 0) {
                const uint64_t end = std::min(end_of(run_), end_);
                const auto run = static_cast<unsigned>(std::min<uint64_t>(end - at_, max_run));
                mover.move(it->tile.u.arr_uint1, out.size(), values_, run_);
                out.put_run(run);
                at_ += run;
                if (at_ == end) ++run_;
            }
        });
        return out.finish(QVO_S_OK);
    }

 private:
    uint64_t end_of(uint64_t run) const { return static_cast<uint64_t>(runs_.end(run)); }

    RunArray runs_;
    const uint8_t* values_;
    uint64_t run_ = 0;
    uint64_t at_, end_;  // positions
};

/// Ends with the series; checks then that its operands end there too.
class EqualLengths final : public Operator {
 public:
    EqualLengths(qvo_seq_iterator_h inner, std::span<const Series> operands)
        : inner_(inner), operands_(operands.begin(), operands.end()) {}
    QVO_RET next(qvo_seq_iterator_h it) override {
        inner_->tile_offs = 0;
        const QVO_RET rc = inner_->next(inner_);
        if (rc == QVO_S_CURSOR_END) check_equal_lengths(*plan, operands_);
        if (rc != QVO_S_OK) return rc;
        std::memcpy(&it->tile.u, &inner_->tile.u, sizeof it->tile.u);
        it->tile_size = inner_->tile_size;
        it->next_seq_no = inner_->next_seq_no;
        return rc;
    }

 private:
    qvo_seq_iterator_h inner_;
    std::vector<Series> operands_;
};

/// The values of a stored sequence where they lie, checked, if its tiles are plain and have no gaps between them; else null.
/// Tiles are looked at twice that way, at first for their checksums, so that they should still be at hand the second time.
const uint8_t* values_in_place(const Stored& stored) {
    constexpr uint64_t most_bytes = uint64_t{1} << 20;
    if (stored.elements() != stored.positions() || stored.positions() * stored.type().width > most_bytes)
        return nullptr;
    for (size_t i = 0; i < stored.n_tiles(); ++i) {
        const TileEntry tile = stored.tile(i);
        if (tile.encoding != Encoding::plain || tile.compressed) return nullptr;
    }
    TileReader reader(stored);
    const uint8_t *first = nullptr, *end = nullptr;
    for (size_t i = 0; i < stored.n_tiles(); ++i) {
        reader.open(i);
        const uint8_t* const values = reader.plain();
        if (first == nullptr) first = end = values;
        if (values != end) return nullptr;
        end += stored.tile(i).size;
    }
    return first;
}

// These make an array or a constant of the library, neither of which looks at its elements, one of another layout. By
// `next` the operators know that they may take its elements without a copy in a tile.
void become_array(qvo_seq_iterator_h it, ElementLayout layout) {
    it->elem_type = layout.type;
    it->elem_size = layout.width;
#define CASE(name) \
    if (layout.type == elem_##name::code) it->next = qvo_seq_unget_##name##_next;
    QVO_SEQ_FOR_FIXED_TYPES(CASE)
#undef CASE
}
void become_constant(qvo_seq_iterator_h it, ElementLayout layout) {
    it->elem_type = layout.type;
#define CASE(name) \
    if (layout.type == elem_##name::code) it->next = qvo_seq_const_##name##_next;
    QVO_SEQ_FOR_FIXED_TYPES(CASE)
#undef CASE
}

}  // namespace

Series stored_source(Plan& plan, const Stored& stored) { return stored_source(plan, stored, 0, stored.positions()); }

Series stored_source(Plan& plan, const Stored& stored, uint64_t first, uint64_t last) {
    // Not for a few of many values, and not where nothing will be read.
    if (!plan.describes() && 2 * (last - first) > stored.positions() && plan.allows(last - first))
        if (const uint8_t* const values = values_in_place(stored))
            return array_source(plan, {stored.type(), values + first * stored.type().width, last - first});
    return plan.make<StoredSource>(stored.type(), last - first, stored, first, last);
}

Series array_source(Plan& plan, const Array& array) {
    qvo_seq_iterator_h it = plan.iterator();
    // The library's source reads the array in place and never writes to it.
    auto* values = const_cast<void*>(array.values);
    if (array.type.type == Type::char_)
        qvo_seq_unget_char(it, static_cast<char*>(values), array.n, array.type.width);
    else
        qvo_seq_unget_uint1(it, static_cast<qvo_uint1*>(values), array.n);
    const ElementLayout layout = layout_of_type(array.type);
    become_array(it, layout);
    it->buf_size = array.n * layout.width;
    it->owned_buf = 0;
    return {it, array.type, array.n};
}

Series run_source(Plan& plan, const RunArray& runs) { return plan.make<RunSource>(runs.type, runs.n, runs); }

Series constant_source(Plan& plan, const Scalar& scalar) {
    qvo_seq_iterator_h it = plan.iterator();
    char element[max_char];
    put_element(scalar, element);
    // The library's constants move values without looking at them: one of char serves every type.
    qvo_seq_const_char(it, element, scalar.type.width);
    become_constant(it, layout_of_type(scalar.type));
    return {it, scalar.type, std::nullopt, true};
}

std::optional<uint64_t> common_length(std::span<const Series> operands) {
    std::optional<uint64_t> common;
    bool known = true;
    for (const Series& operand : operands) {
        if (operand.constant) continue;
        if (!operand.length) known = false;
        if (!operand.length) continue;
        if (common && *common != *operand.length)
            throw Error(Fault::argument, "sequences of different lengths: " + std::to_string(*common) + " and " +
                                             std::to_string(*operand.length));
        common = operand.length;
    }
    return known ? common : std::nullopt;
}

void check_equal_lengths(Plan& plan, std::span<const Series> operands) {
    std::optional<uint64_t> first;
    for (const Series& operand : operands) {
        if (operand.constant) continue;
        while (plan.pull(operand.it)) {}
        const uint64_t length = operand.it->next_seq_no;
        if (first && length != *first)
            throw Error(Fault::argument,
                        "sequences of different lengths: " + std::to_string(*first) + " and " + std::to_string(length));
        first = length;
    }
}

Series with_equal_lengths(Plan& plan, Series series, std::span<const Series> operands) {
    size_t n = 0;
    for (const Series& operand : operands) n += !operand.constant;
    if (n < 2 || common_length(operands)) return series;
    return plan.make<EqualLengths>(series.type, std::nullopt, series.it, operands);
}

}  // namespace qvo::value
