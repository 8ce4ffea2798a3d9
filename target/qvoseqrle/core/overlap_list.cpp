#include "core/overlap_list.h"

#include "core/walk.h"

namespace qvo {
namespace {

/// Sink of a walk that writes the list.
template <size_t N> class ListSink {
 public:
    QVO_INLINE ListSink(OverlapList<N>& list, const Operand (&operands)[N], size_t room) : list_(list), room_(room) {
        each<N>([&](auto k) __attribute__((always_inline)) { runs_[k] = operands[k].first_run(); });
    }

    QVO_INLINE size_t size() const { return n_; }
    QVO_INLINE size_t room() const { return room_ - n_; }
    QVO_INLINE size_t reach() const { return room_ - n_; }
    template <unsigned Set> QVO_INLINE RunSpan stretch(Moving<Set>, At<N> at, RunSpan span) {
        each<N>([&](auto k) __attribute__((always_inline)) {
            constexpr bool moves = (Set >> k & 1) != 0;
            put<moves>(list_.index[k] + n_, static_cast<uint16_t>(at[k]), span.elements);
        });
        copy_in_order(list_.run + n_, runs_[first_moving<Set>] - at[first_moving<Set>], span.elements);
        n_ += span.elements;
        return span;
    }
    QVO_INLINE void one(size_t i, At<N> at, unsigned run) {
        each<N>([&](auto k) __attribute__((always_inline)) { list_.index[k][n_ + i] = static_cast<uint16_t>(at[k]); });
        list_.run[n_ + i] = static_cast<uint8_t>(run);
    }
    QVO_INLINE void end_singles(RunSpan span) { n_ += span.elements; }
    /// Not for the walk, which has crossings where they are not as cheap.
    QVO_INLINE CrossingRow<N> row() {
        CrossingRow<N> row{{}, list_.run + n_, room()};
        each<N>([&](auto k) __attribute__((always_inline)) { row.index[k] = list_.index[k] + n_; });
        return row;
    }
    QVO_INLINE void end_crossings(RunSpan span) { n_ += span.elements; }

 private:
    // Stretches are short as a rule: sixteen indexes at a time do with few branches.
    typedef uint16_t Indexes __attribute__((vector_size(32)));
    static constexpr size_t step = sizeof(Indexes) / sizeof(uint16_t);
    static_assert(step <= OverlapList<N>::slack + 1);
    template <bool moves> QVO_INLINE static void put(uint16_t* to, uint16_t first, size_t n) {
        Indexes indexes = Indexes{} + first;
        if constexpr (moves) indexes += Indexes{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
        for (size_t i = 0; i < n; i += step, indexes += uint16_t{moves ? step : 0})
            std::memcpy(to + i, &indexes, sizeof indexes);
    }

    OverlapList<N>& list_;
    size_t room_;
    const uint8_t* runs_[N];
    size_t n_ = 0;
};

/// Whether what comes is listed by crossings rather than looked at for stretches, none of which would be long. Crossings
/// take as long as there are positions: where overlaps are long steps one by one are faster.
template <size_t N> QVO_INLINE bool stretches_are_short(const Operand (&operands)[N], size_t room) {
    constexpr unsigned longest_overlap = 16, longest_stretch = 16;
    unsigned least = run_word * max_run, most = 0;
    bool enough = room >= fewest_crossings && crossings_are_cheap(), same = true;
    each<N>([&](auto k) __attribute__((always_inline)) {
        const uint64_t runs = load_runs(operands[k].runs());
        const unsigned sum = lane_sum(pair_sums(runs));
        least = std::min(least, sum);
        most = std::max(most, sum);
        enough = enough && enough_to_cross(operands[k].elements_left(), operands[k].run_left());
        same = same && operands[k].taken() == 0 && runs == load_runs(operands[0].runs());
    });
    // Runs of m and M positions overlap in mM / (m + M) on average.
    const bool overlaps_are_short = least * most <= run_word * longest_overlap * (least + most);
    return enough && !same && overlaps_are_short && most <= longest_stretch * least;
}

template <size_t N, size_t... K>
QVO_INLINE size_t list_steps(OverlapList<N>& list, Operand* operands, size_t room, std::index_sequence<K...>) {
    Operand moving[] = {operands[K]...};  // in registers meanwhile
    ListSink<N> sink(list, moving, room);
    for (size_t single = fewest_single_steps; sink.room() != 0 && !any_used_up(moving);)
        if (stretches_are_short(moving, sink.room())) {
            take_crossings(moving, sink.row(), sink.room(), sink);
            if (sink.room() < fewest_crossings) break;  // what is left comes faster with the next list
        } else {
            walk_stretch(moving, sink.room(), single, sink);
        }
    each<N>([&](auto k) __attribute__((always_inline)) { operands[k] = moving[k]; });
    return sink.size();
}

template <size_t N> QVO_INLINE size_t list_overlaps(OverlapList<N>& list, Operand* operands, size_t room) {
    return list_steps(list, operands, room, std::make_index_sequence<N>{});
}

}  // namespace

template <size_t N> void OverlapList<N>::collect(Operand* operands, size_t room) {
    for (size_t k = 0; k < N; ++k) taken[k] = operands[k].taken();
    n = for_cpu<list_overlaps<N>>(*this, operands, std::min(room, most));
}

template <size_t N> void OverlapList<N>::set_back(Operand* operands, size_t i) const {
    if (i == n) return;
    for (size_t k = 0; k < N; ++k) {
        const uint16_t* indexes = index[k];
        unsigned before = indexes[i] == indexes[0] ? taken[k] : 0;
        for (size_t j = i; j != 0 && indexes[j - 1] == indexes[i]; --j) before += run[j - 1];
        operands[k].set_back_to(indexes[i], before);
    }
}

template struct OverlapList<2>;
template struct OverlapList<3>;

}  // namespace qvo
