// Division by the norm of the sequence.
#include "transform/shaping.h"

namespace test {
namespace {

// The norm is the first word of the context.
template <class V> QVO_RET literal_norm(qvo_seq_iterator_h it) {
    const qvo_seq_iterator_h input = it->opd[0];
    double norm = 0;
    if (it->next_seq_no == 0) {
        QVO_RET rc;
        while ((rc = input->next(input)) == QVO_S_OK) {
            input->tile_offs = 0;
            double sum = 0;
            for (size_t i = 0; i < input->tile_size; ++i) {
                const double value = static_cast<double>(literal_value<V>(input, i));
                sum += literal_run(input, i) * (value * value);
            }
            norm = std::sqrt(norm + sum);
            std::memcpy(it->context, &norm, sizeof norm);
        }
        if (rc != QVO_S_CURSOR_END) return rc;
        if (rc = input->reset(input); rc != QVO_S_OK) return rc;
    }
    std::memcpy(&norm, it->context, sizeof norm);
    return literal_elements_next(
        it, [&](size_t i, size_t k) { literal_put(it, i, static_cast<double>(literal_value<V>(input, k)) / norm); });
}

#define TEST_MEMBER(type) \
    check_shaping<t_##type>(unary_member<t_double>(MEMBER(qvo_seq_norm_##type)), literal_norm<qvo_##type>);

TEST(Norm, FollowsTheSteps) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

TEST(Norm, DividesByTheEuclideanNormOfOneTile) {
    check_items<t_double>(shape<t_int4, t_double>(qvo_seq_norm_int4, {{3}, {4}}), {{0.6}, {0.8}});
    check_items<t_double>(shape<t_int1, t_double>(qvo_seq_norm_int1, {{-1, 9}}), {{-1.0 / 3, 9}});
    const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    check_items<t_double>(shape<t_uint8, t_double>(qvo_seq_norm_uint8, {{0}, {0}}), {{nan}, {nan}});
    check_items<t_double>(shape<t_double, t_double>(qvo_seq_norm_double, {{1e-200}, {-1e-200}}), {{inf}, {-inf}});
}

TEST(Norm, TakesARootAfterEveryTile_deliberate) {
    check_items<t_double>(shape<t_int4, t_double>(qvo_seq_norm_int4, {{3}, {4}, {2}}, {2, 1}),
                          {{3 / 3.0}, {4 / 3.0}, {2 / 3.0}});
}

TEST(Norm, PassesOnAFailingResetOfTheInput) {
    Source source(t_int4{}, {{3}, {4}}, {{}, SIZE_MAX, QVO_S_OK, 4712});
    Record it;
    ASSERT_EQ(qvo_seq_norm_int4(it.get(), source.get()), QVO_S_OK);
    EXPECT_EQ(it->next(it.get()), 4712);
}

}  // namespace
}  // namespace test
