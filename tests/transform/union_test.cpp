// The ordered merge of two sequences.
#include <algorithm>

#include "support/protocol.h"

namespace test {
namespace {

struct Ends {
    bool left = false, right = false;
};

template <class V> QVO_RET literal_union(qvo_seq_iterator_h it, qvo_seq_order_t order, Ends& ends) {
    const qvo_seq_iterator_h left = it->opd[0], right = it->opd[1];
    if (ends.left && ends.right) return QVO_S_CURSOR_END;
    size_t i = 0;
    for (; i < capacity_of(it->elem_size); ++i) {
        for (const auto& [side, ended] : {std::pair{left, &ends.left}, {right, &ends.right}}) {
            if (*ended || side->tile_offs < side->tile_size) continue;
            const QVO_RET rc = side->next(side);
            if (rc != QVO_S_OK && rc != QVO_S_CURSOR_END) return rc;
            *ended = rc == QVO_S_CURSOR_END;
            if (!*ended) side->tile_offs = 0;
        }
        if (ends.left && ends.right) {
            if (i == 0) return QVO_S_CURSOR_END;
            break;
        }
        const V l = ends.left ? V{} : literal_value<V>(left, left->tile_offs);
        const V r = ends.right ? V{} : literal_value<V>(right, right->tile_offs);
        const bool before = order == QVO_SEQ_DESC_ORDER ? l > r : l < r;
        if (!ends.left && (ends.right || before)) {
            literal_put(it, i, l);
            ++left->tile_offs;
        } else {
            if (!ends.left && !ends.right && l == r) ++left->tile_offs;
            literal_put(it, i, r);
            ++right->tile_offs;
        }
        literal_put_run(it, i, 1);
    }
    it->next_seq_no += i;
    return literal_end(it, i, QVO_S_OK);
}

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_order_t);

template <class T> MakeSource draw_ordered(Random& random, qvo_seq_order_t order, bool sorted) {
    Items<T> items = random_items<T>(random, random.between(4, 3000));
    if (sorted)
        std::sort(items.begin(), items.end(), [order](const Item<T>& a, const Item<T>& b) {
            if (a.value != a.value || b.value != b.value) return a.value == a.value;  // NaNs after
            return order == QVO_SEQ_DESC_ORDER ? a.value > b.value : a.value < b.value;
        });
    return operand<T>(items);
}

template <class T> void check_union(const char* name, Constructor construct, qvo_seq_iterator_next_t next) {
    check_random(binary_member(name, nullptr, next, T::code, T::width, qvo_seq_reset_union_iterator), 24,
                 [=](Random& random, unsigned seed, Member& m) {
                     static constexpr qvo_seq_order_t orders[] = {QVO_SEQ_ASC_ORDER, QVO_SEQ_DESC_ORDER,
                                                                  QVO_SEQ_NO_ORDER, 77};  // any other: ascending
                     const qvo_seq_order_t order = orders[seed % 4];
                     m.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) {
                         return construct(it, o[0], o[1], order);
                     };
                     // Ordered as they should be, or not: the steps do not depend on it.
                     m.operands.clear();
                     for (int side = 0; side < 2; ++side)
                         m.operands.push_back(draw_ordered<T>(random, order, seed % 5 != 3));
                     return [=, ends = Ends{}](qvo_seq_iterator_h it) mutable {
                         return literal_union<typename T::value>(it, order, ends);
                     };
                 });
}

#define TEST_MEMBER(type) check_union<t_##type>(MEMBER(qvo_seq_union_##type));

TEST(Union, FollowsTheSteps) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

}  // namespace
}  // namespace test
