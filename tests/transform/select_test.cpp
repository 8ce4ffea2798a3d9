// Elements that are kept, and positions that are found, element by element: unique, skip_nan, cross and extrema.
#include "support/number.h"

namespace test {
namespace {

// ---- Elements -------------------------------------------------------------------------------------------------------

void check_unique(const AnyType& type, const char* name, ConstructUnary construct, qvo_seq_iterator_next_t next) {
    const auto equal = [code = type.code](const std::string& a, const std::string& b) {
        return code == QVO_DD_CHAR ? a == b : number_at(code, a.data()) == number_at(code, b.data());
    };
    check_random(unary_member(name, construct, next, type.code, type.width, qvo_seq_reset_unary_agg_iterator), 12,
                 [&](Random& random, unsigned seed, Member& m) {
                     Items<t_char> items = type.items(random, capacity_of(type.width) + random.between(4, 4000));
                     // Neighbours of one value, few or many, or that differ in their last byte.
                     for (size_t i = 1; i < items.size(); ++i)
                         if (random.chance(seed * 9)) {
                             items[i].value = items[i - 1].value;
                             items[i].value.back() ^= static_cast<char>(random.chance(5));
                         }
                     m.operands = {type.operand(items)};
                     return [=, kept = std::string()](qvo_seq_iterator_h it) mutable {
                         return literal_selected_next(it, [&](size_t i, size_t k) {
                             const std::string value = literal_bytes(it->opd[0], k);
                             if (it->next_seq_no != 0 && equal(value, kept)) return false;
                             kept = value;
                             literal_copy(it, i, it->opd[0], k);
                             literal_put_run(it, i, 1);
                             return true;
                         });
                     };
                 });
}

#define TEST_UNIQUE(type) check_unique(any_type<t_##type>(), MEMBER(qvo_seq_unique_##type));

TEST(Unique, KeepsEverythingInItsFirstCall_deliberate) {
    QVO_SEQ_FOR_FIXED_TYPES(TEST_UNIQUE)
    for (const size_t width : {5, 264}) check_unique(any_type<t_char>(width), MEMBER(qvo_seq_unique_char));
    check_items<t_int4>(applied<t_int4>(qvo_seq_unique_int4, {{1}, {1}, {2, 5}, {2}}), {{1}, {1}, {2}, {2}});
    Source wider(t_char{}, {{"a"}}, {}, 265);
    expect_refused(QVO_E_ILLEGAL_PARAM, qvo_seq_unique_char, wider.get());
    EXPECT_EQ(wider->bounded, 1);
}

template <class T> void check_skip_nan(const char* name, ConstructUnary construct, qvo_seq_iterator_next_t next) {
    using V = typename T::value;
    check_random(unary_member(name, construct, next, T::code, T::width, qvo_seq_reset_unary_agg_iterator), 15,
                 [](Random& random, unsigned seed, Member& m) {
                     const unsigned percent = seed * 8 % 105;  // none, all, and mixtures
                     m.operands = {operand<T>(random_items<T>(random, random.between(4, 4000), [=](Random& r) {
                         return r.chance(percent) ? static_cast<V>(r.chance(50) ? NAN : -NAN)
                                                  : static_cast<V>(50 - static_cast<int>(r.below(100)));
                     }))};
                     return [](qvo_seq_iterator_h it) {
                         return literal_selected_next(it, [it](size_t i, size_t k) {
                             if (std::isnan(literal_value<V>(it->opd[0], k))) return false;
                             literal_copy(it, i, it->opd[0], k);
                             literal_put_run(it, i, literal_run(it->opd[0], k));
                             return true;
                         });
                     };
                 });
}

TEST(SkipNan, CountsElementsAndNotPositions_deliberate) {
    check_skip_nan<t_float>(MEMBER(qvo_seq_skip_nan_float));
    check_skip_nan<t_double>(MEMBER(qvo_seq_skip_nan_double));
}

// ---- Positions ------------------------------------------------------------------------------------------------------

template <class V> struct State {
    uint64_t pos = 0, n_zeros = 0;
    int prev_sign = 0;  // of a value, or of the direction
    V prev_val{};
};

template <class V> QVO_RET literal_cross(qvo_seq_iterator_h it, int first_sign, State<V>& state) {
    const qvo_seq_iterator_h input = it->opd[0];
    State<V> now = state;
    const QVO_RET rc = literal_selected_next(it, [&](size_t i, size_t k) {
        const V v = literal_value<V>(input, k);
        const uint64_t pos = now.pos;
        now.pos += literal_run(input, k);
        const int sign = v > 0 ? 1 : v < 0 ? -1 : 0;
        if (sign == 0) state.n_zeros += now.prev_sign != 0 ? literal_run(input, k) : 0;
        if (sign == 0 || sign == now.prev_sign) return false;
        const bool filtered = first_sign != 0 && it->next_seq_no == 0 && sign != first_sign;
        const bool crosses = now.prev_sign != 0 && !filtered;
        if (crosses) literal_put(it, i, pos - state.n_zeros), literal_put_run(it, i, 1);
        now.prev_sign = sign;
        state.n_zeros = 0;
        return crosses;
    });
    if (rc == QVO_S_OK) state.pos = now.pos, state.prev_sign = now.prev_sign;
    return rc;
}

template <class V> QVO_RET literal_extrema(qvo_seq_iterator_h it, int first_extremum, State<V>& state) {
    const qvo_seq_iterator_h input = it->opd[0];
    State<V> s = state;
    bool first = it->next_seq_no == 0;
    const QVO_RET rc = literal_selected_next(it, [&](size_t i, size_t k) {
        const V v = literal_value<V>(input, k);
        const int direction = first ? 0 : s.prev_val > v ? -1 : v > s.prev_val ? 1 : 0;
        const bool turns = s.prev_sign * direction < 0 && (first_extremum == 0 || s.prev_sign == first_extremum);
        if (turns) literal_put(it, i, s.pos - 1), literal_put_run(it, i, 1);
        first = false;
        if (direction != 0) s.prev_sign = direction;
        s.prev_val = v;
        s.pos += literal_run(input, k);
        return turns;
    });
    if (rc == QVO_S_OK) state = s;
    return rc;
}

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, int);

/// A member against its steps; its parameter is 0, 1, -1 or of no meaning. The first elements are 1 and -1.
template <class T>
void check_positions(const char* name, Constructor construct, qvo_seq_iterator_next_t next,
                     qvo_seq_iterator_reset_t reset, DrawValue<T> (*draw)(unsigned seed),
                     QVO_RET (*literal)(qvo_seq_iterator_h, int, State<typename T::value>&)) {
    check_random(
        unary_member(name, nullptr, next, QVO_DD_UINT8, 8, reset), 24, [=](Random& random, unsigned seed, Member& m) {
            const int first = seed == 0 ? 0 : static_cast<int>(random.below(4)) - 1;
            m.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) { return construct(it, o[0], first); };
            Items<T> items = random_items<T>(random, random.between(200, 6000), draw(seed));
            items[0].value = 1;
            items[1].value = static_cast<typename T::value>(-1);
            m.operands = {operand<T>(items)};
            return [=, state = State<typename T::value>{}](qvo_seq_iterator_h it) mutable {
                return literal(it, first, state);
            };
        });
}

/// Long stretches of one sign, of zeros, and of anything.
template <class T> DrawValue<T> draw_signs(unsigned seed) {
    using V = typename T::value;
    return [shape = seed == 0 ? 4U : 0U](Random& r) mutable {
        if (r.chance(2)) shape = r.below(5);
        const V v = r.value<V>();
        return shape == 0 ? V{0} : shape == 1 ? V{3} : shape == 2 ? static_cast<V>(-3) : v;
    };
}
/// Stretches that rise, fall, stay or jump.
template <class T> DrawValue<T> draw_trends(unsigned) {
    using V = typename T::value;
    return [shape = 0U, at = V{50}](Random& r) mutable {
        if (r.chance(5)) shape = r.below(4);
        if (shape == 0 && at < 120) at = static_cast<V>(at + static_cast<V>(r.below(2)));
        if (shape == 1 && at > 0) at = static_cast<V>(at - static_cast<V>(1));
        if (shape == 3 || at != at) at = r.value<V>();
        return at;
    };
}

#define TEST_CROSS(type)                                                                                        \
    check_positions<t_##type>(MEMBER(qvo_seq_cross_##type), qvo_seq_cross_reset_iterator, draw_signs<t_##type>, \
                              literal_cross);
#define TEST_EXTREMA(type)                                                                             \
    check_positions<t_##type>(MEMBER(qvo_seq_extrema_##type), qvo_seq_extrema_##type##_reset_iterator, \
                              draw_trends<t_##type>, literal_extrema);

TEST(Cross, FollowsTheSteps){TEST_CROSS(int1) TEST_CROSS(int2) TEST_CROSS(int4) TEST_CROSS(int8) TEST_CROSS(float)
                                 TEST_CROSS(double)}

TEST(Extrema, FollowsTheSteps) {
    QVO_SEQ_FOR_FIXED_TYPES(TEST_EXTREMA)
}

template <class T> std::vector<uint64_t> positions(Constructor construct, const Items<T>& items, int first) {
    return expand(drained<t_uint8>(construct, Source(T{}, items).get(), first));
}

TEST(Cross, UnsignedTypesAreRefusedAndTimesHaveNoNegativeSide) {
    EXPECT_TRUE(positions<t_datetime>(qvo_seq_cross_datetime, {{0, 3}, {5}, {~uint64_t{0}}, {0}}, 0).empty());
    Source source(t_uint4{}, {{1}});
    for (const Constructor refused :
         {qvo_seq_cross_uint1, qvo_seq_cross_uint2, qvo_seq_cross_uint4, qvo_seq_cross_uint8})
        expect_refused(QVO_E_UNSUPPORTED, refused, source.get(), 0);
    EXPECT_EQ(source->bounded, 0);
}

TEST(Cross, CountsZerosOnAndFiltersTheWholeFirstCall_deliberate) {
    EXPECT_EQ(positions<t_int4>(qvo_seq_cross_int4, {{1}, {0}, {2}, {-1}}, 0), (std::vector<uint64_t>{2}));
    Items<t_int4> items;
    for (int i = 0; i < 1000; ++i) items.push_back({i % 2 == 0 ? 1 : -1});
    const auto found = positions<t_int4>(qvo_seq_cross_int4, items, 1);
    EXPECT_EQ(found.at(454), 910U);
    EXPECT_EQ(found.at(455), 911U) << "a crossing to negative values";
}

TEST(Extrema, PlateausAmidALongRise) {
    for (const unsigned plateau : {7, 8, 9, 16}) {
        Items<t_double> items;
        for (unsigned i = 0; i < 17 + plateau; ++i) items.push_back({double(std::min(i, 16U))});
        items.push_back({3});
        EXPECT_EQ(positions<t_double>(qvo_seq_extrema_double, items, 0), (std::vector<uint64_t>{16 + plateau}));
    }
}

TEST(Extrema, TheParameterFiltersAllExtrema_deliberate) {
    const Items<t_double> items{{1}, {3}, {3}, {2}, {5}, {4}};
    EXPECT_EQ(positions<t_double>(qvo_seq_extrema_double, items, 1), (std::vector<uint64_t>{2, 4}));
    EXPECT_EQ(positions<t_double>(qvo_seq_extrema_double, items, 2), (std::vector<uint64_t>{}));
}

}  // namespace
}  // namespace test
