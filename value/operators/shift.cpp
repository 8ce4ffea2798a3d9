#include "operators/shift.h"

#include <cstring>
#include <limits>

#include "core/move.h"
#include "evaluate/scalar.h"
#include "evaluate/source.h"

namespace qvo::value {
namespace {

class Framed final : public Operator {
 public:
    Framed(const Series& x, uint64_t before, uint64_t after, const Scalar& value)
        : x_(x), before_(before), after_(after) {
        put_element(value, value_);
    }
    QVO_RET next(qvo_seq_iterator_h it) override {
        if (before_ != 0) return fill(it, before_);
        if (!ended_) {
            x_.it->tile_offs = 0;
            const QVO_RET rc = x_.it->next(x_.it);
            if (rc == QVO_S_OK) return hand_on(it);
            if (rc != QVO_S_CURSOR_END) return rc;
            ended_ = true;
        }
        return after_ != 0 ? fill(it, after_) : QVO_S_CURSOR_END;
    }

 private:
    QVO_RET hand_on(qvo_seq_iterator_h it) const {
        const size_t n = x_.it->tile_size;
        std::memcpy(it->tile.u.arr_uint1, x_.it->tile.u.arr_uint1, n * x_.type.width);
        copy_runs(runs_of(it), runs_of(x_.it), n);
        it->tile_size = x_.it->tile_size;
        it->next_seq_no += sum_runs(runs_of(it), n);
        return QVO_S_OK;
    }
    QVO_RET fill(qvo_seq_iterator_h it, uint64_t& left) const {
        const size_t width = x_.type.width, capacity = capacity_of(width);
        size_t n = 0;
        for (; n < capacity && left != 0; ++n) {
            const unsigned run = static_cast<unsigned>(std::min<uint64_t>(left, max_run));
            std::memcpy(it->tile.u.arr_uint1 + n * width, value_, width);
            set_run(runs_of(it), n, run);
            left -= run;
            it->next_seq_no += run;
        }
        it->tile_size = static_cast<uint16_t>(n);
        return QVO_S_OK;
    }

    Series x_;
    uint64_t before_, after_;  // positions left
    bool ended_ = false;
    uint8_t value_[max_char];
};

}  // namespace

Series framed(Plan& plan, const Series& x, uint64_t before, uint64_t after, const Scalar& value) {
    if (before == 0 && after == 0) return x;
    return plan.make<Framed>(x.type, *x.length + before + after, x, before, after, value);
}

Moved moved(Plan& plan, Arguments& arguments, size_t i, int64_t n) {
    const Stored& stored = arguments.stored(i);
    const uint64_t length = stored.positions();
    const uint64_t distance = n < 0 ? 0 - static_cast<uint64_t>(n) : static_cast<uint64_t>(n);
    const uint64_t apart = std::min(distance, length);
    const Series front = stored_source(plan, stored, 0, length - apart);
    const Series back = stored_source(plan, stored, apart, length);
    if (n < 0) return {front, back, 0, apart};
    return {back, front, apart, 0};
}

Scalar missing_double() {
    Scalar missing = scalar_of(type_of(Type::double_));
    missing.real = std::numeric_limits<double>::quiet_NaN();
    return missing;
}

}  // namespace qvo::value
