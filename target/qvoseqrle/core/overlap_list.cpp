#include "core/overlap_list.h"

#include "core/overlap.h"

namespace qvo {
namespace {

/// Sink of walk_stretch that writes the list.
class ListSink {
 public:
    QVO_INLINE ListSink(OverlapList<2>& list, const Operand* operands, size_t room)
        : room_(room),
          left_(list.index[0]),
          right_(list.index[1]),
          run_(list.run),
          left_runs_(operands[0].runs() + operands[0].index()),
          right_runs_(operands[1].runs() + operands[1].index()) {}

    QVO_INLINE size_t size() const { return n_; }
    QVO_INLINE size_t reach() const { return room_ - n_; }
    QVO_INLINE RunSpan lockstep(size_t left, size_t right, RunSpan span) {
        count_up(left_ + n_, left, span.elements);
        count_up(right_ + n_, right, span.elements);
        return take_runs(left_runs_ - left, span);
    }
    QVO_INLINE RunSpan many_left(size_t left, size_t right, RunSpan span) {
        count_up(left_ + n_, left, span.elements);
        repeat(right_ + n_, right, span.elements);
        return take_runs(left_runs_ - left, span);
    }
    QVO_INLINE RunSpan many_right(size_t left, size_t right, RunSpan span) {
        repeat(left_ + n_, left, span.elements);
        count_up(right_ + n_, right, span.elements);
        return take_runs(right_runs_ - right, span);
    }
    QVO_INLINE void one(size_t k, size_t left, size_t right, unsigned run) {
        left_[n_ + k] = static_cast<uint16_t>(left);
        right_[n_ + k] = static_cast<uint16_t>(right);
        run_[n_ + k] = static_cast<uint8_t>(run);
    }
    QVO_INLINE void end_singles(RunSpan span) { n_ += span.elements; }

 private:
    // Stretches are short as a rule: eight indexes at a time do with few branches.
    typedef uint16_t Indexes __attribute__((vector_size(16)));
    static constexpr size_t step = sizeof(Indexes) / sizeof(uint16_t);
    static_assert(step == OverlapList<2>::slack + 1);
    QVO_INLINE static void put(uint16_t* to, Indexes indexes, unsigned up, size_t n) {
        for (size_t i = 0; i < n; i += step, indexes += static_cast<uint16_t>(up))
            std::memcpy(to + i, &indexes, sizeof indexes);
    }
    QVO_INLINE static void count_up(uint16_t* to, size_t first, size_t n) {
        put(to, Indexes{0, 1, 2, 3, 4, 5, 6, 7} + static_cast<uint16_t>(first), step, n);
    }
    QVO_INLINE static void repeat(uint16_t* to, size_t index, size_t n) {
        put(to, Indexes{} + static_cast<uint16_t>(index), 0, n);
    }
    QVO_INLINE RunSpan take_runs(const uint8_t* runs, RunSpan span) {
        copy_in_order(run_ + n_, runs, span.elements);
        n_ += span.elements;
        return span;
    }

    size_t room_;
    uint16_t* left_;
    uint16_t* right_;
    uint8_t* run_;
    const uint8_t* left_runs_;
    const uint8_t* right_runs_;
    size_t n_ = 0;
};

QVO_CPU_VARIANTS size_t list_pairs(OverlapList<2>& list, Operand* operands, size_t room) {
    Operand a = operands[0], b = operands[1];
    ListSink sink(list, operands, room);
    for (size_t single = fewest_single_steps; sink.reach() != 0 && !a.used_up() && !b.used_up();)
        walk_stretch(a, b, sink.reach(), single, sink);
    operands[0] = a;
    operands[1] = b;
    return sink.size();
}

/// Step by step, for any number of operands.
template <size_t Operands> size_t list_steps(OverlapList<Operands>& list, Operand* operands, size_t room) {
    const auto used_up = [=] {
        for (size_t k = 0; k < Operands; ++k)
            if (operands[k].used_up()) return true;
        return false;
    };
    size_t n = 0;
    for (; n != room && !used_up(); ++n) {
        unsigned run = max_run;
        for (size_t k = 0; k < Operands; ++k) {
            list.index[k][n] = static_cast<uint16_t>(operands[k].index());
            run = std::min(run, operands[k].run_left());
        }
        list.run[n] = static_cast<uint8_t>(run);
        for (size_t k = 0; k < Operands; ++k) operands[k].take(run);
    }
    return n;
}

}  // namespace

template <size_t Operands> void OverlapList<Operands>::collect(Operand* operands, size_t room) {
    for (size_t k = 0; k < Operands; ++k) taken[k] = operands[k].taken();
    if constexpr (Operands == 2)
        n = list_pairs(*this, operands, std::min(room, most));
    else
        n = list_steps(*this, operands, std::min(room, most));
}

template <size_t Operands> void OverlapList<Operands>::set_back(Operand* operands, size_t i) const {
    if (i == n) return;
    for (size_t k = 0; k < Operands; ++k) {
        const uint16_t* indexes = index[k];
        unsigned before = indexes[i] == indexes[0] ? taken[k] : 0;
        for (size_t j = i; j != 0 && indexes[j - 1] == indexes[i]; --j) before += run[j - 1];
        operands[k].move_to(indexes[i], before);
    }
}

template struct OverlapList<2>;
template struct OverlapList<3>;

}  // namespace qvo
