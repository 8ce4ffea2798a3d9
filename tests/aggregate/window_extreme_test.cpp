// Extremes of windows to the bit, over calls that are answered at once: zeros of both signs, NaNs and infinities, where
// the order in which the slots are searched decides.
#include <utility>

#include "support/protocol.h"

namespace test {
namespace {

/// Value by value; all values of a call pass through one slot.
template <class V> std::vector<V> model(const std::vector<V>& in, uint64_t interval, bool (*beats)(V, V)) {
    std::vector<V> slots(interval), out;
    V extreme = 0;
    for (size_t i = 0; i < in.size(); ++i) {
        const size_t call = i / capacity_of(sizeof(V)) * capacity_of(sizeof(V));
        const V old = std::exchange(slots[call % interval], in[i]);
        if (beats(in[i], extreme)) {
            extreme = in[i];
        } else if (extreme == old) {
            extreme = slots[0];
            for (const V v : slots)
                if (beats(v, extreme)) extreme = v;
        }
        out.push_back(extreme);
    }
    return out;
}

/// Each call draws from a few neighbours in the list, so that what a window holds changes from call to call.
template <class V> std::vector<V> draw_calls(Random& random, const std::vector<V>& kinds) {
    std::vector<V> in;
    for (unsigned call = random.between(1, 12); call != 0; --call) {
        const unsigned n = static_cast<unsigned>(kinds.size()), first = random.below(n), some = random.between(1, 3);
        const size_t most = capacity_of(sizeof(V));
        for (size_t i = call == 1 ? random.below(40) : 0; i < most; ++i)
            in.push_back(kinds[(first + random.below(some)) % n]);
    }
    return in;
}

template <class T>
void check_extremes(QVO_RET (*max)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_size_t),
                    QVO_RET (*min)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_size_t),
                    const std::vector<typename T::value>& kinds) {
    using V = typename T::value;
    for (unsigned seed = 0; seed < 60; ++seed) {
        Random random(seed);
        const uint64_t interval = random.chance(30) ? 1 : random.between(2, 208 / sizeof(V));
        const std::vector<V> in = draw_calls(random, kinds);
        SCOPED_TRACE(testing::Message() << T::name << ", seed " << seed << ", interval " << interval);
        Source above(T{}, singles<T>(in)), below(T{}, singles<T>(in));
        check_items<T>(drained<T>(max, above.get(), interval),
                       singles<T>(model<V>(in, interval, [](V a, V b) { return a > b; })));
        check_items<T>(drained<T>(min, below.get(), interval),
                       singles<T>(model<V>(in, interval, [](V a, V b) { return a < b; })));
        if (testing::Test::HasFailure()) return;
    }
}

TEST(WindowExtreme, ToTheBit) {
    const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<double> kinds{-2, -0.0, 0.0, -0.0, -1, inf, -inf, -inf, -3, -0.0, -1, 0.0, 2, 3, 5, 4, nan, 7};
    check_extremes<t_double>(qvo_seq_window_agg_max_double, qvo_seq_window_agg_min_double, kinds);
    check_extremes<t_float>(qvo_seq_window_agg_max_float, qvo_seq_window_agg_min_float, {kinds.begin(), kinds.end()});
    check_extremes<t_int1>(qvo_seq_window_agg_max_int1, qvo_seq_window_agg_min_int1, {-128, -5, -1, 0, 3, 5, 127});
    check_extremes<t_uint8>(qvo_seq_window_agg_max_uint8, qvo_seq_window_agg_min_uint8, {0, 1, 5, 9, ~qvo_uint8{0}});
}

}  // namespace
}  // namespace test
