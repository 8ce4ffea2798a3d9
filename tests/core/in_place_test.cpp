// Operators over the library's own arrays and constants, of which they may take the elements without a copy: what they
// deliver, and what they leave in the operands' records, is what they make of the same sources where they are not known.
#include "support/protocol.h"

namespace test {
namespace {

/// The `next` of a source as that of a stranger.
template <auto next> QVO_RET unknown(qvo_seq_iterator_h it) { return next(it); }

/// An array, a constant, or a scripted source that may end with an error; in a tree that is known, or in one that is not.
using MakeOperand = std::function<qvo_seq_iterator_h(std::vector<std::unique_ptr<Record>>&, bool known)>;

template <class T, auto construct, auto next> MakeOperand array(const std::vector<typename T::value>& values) {
    return [&values](auto& records, bool known) {
        const qvo_seq_iterator_h it = records.emplace_back(std::make_unique<Record>())->get();
        EXPECT_EQ(construct(it, values.data(), values.size()), QVO_S_OK);
        if (!known) it->next = unknown<next>;
        return it;
    };
}
/// The operand before, once more.
const MakeOperand again = [](auto& records, bool) { return records.back()->get(); };
#define ARRAY(type) array<t_##type, qvo_seq_unget_##type, qvo_seq_unget_##type##_next>

MakeOperand constant(qvo_int4 value) {
    return [value](auto& records, bool known) {
        const qvo_seq_iterator_h it = records.emplace_back(std::make_unique<Record>())->get();
        EXPECT_EQ(qvo_seq_const_int4(it, value), QVO_S_OK);
        if (!known) it->next = unknown<qvo_seq_const_int4_next>;
        return it;
    };
}

/// What a host may find in an operand's record between two calls.
void expect_same_operand(const qvo_seq_iterator_t& known, const qvo_seq_iterator_t& copied) {
    ASSERT_EQ(known.tile_size, copied.tile_size);
    ASSERT_EQ(known.tile_offs, copied.tile_offs);
    ASSERT_EQ(known.rle_offs, copied.rle_offs);
    ASSERT_EQ(known.next_seq_no, copied.next_seq_no);
    const uint8_t *a = known.tile.u.arr_uint1, *b = copied.tile.u.arr_uint1;
    const size_t width = known.elem_size, n = known.tile_size, at = std::min<size_t>(known.tile_offs, n);
    ASSERT_EQ(std::memcmp(a + at * width, b + at * width, (n - at) * width), 0);
    ASSERT_EQ(std::memcmp(a + sizeof known.tile.u - n, b + sizeof known.tile.u - n, n), 0);
}

using Construct = std::function<QVO_RET(qvo_seq_iterator_h, const std::vector<qvo_seq_iterator_h>&)>;

/// Pulls both trees to their end, `before` positions having been read from the first operand.
void check(const Construct& construct, const std::vector<MakeOperand>& make, size_t before = 0) {
    std::vector<std::unique_ptr<Record>> records;
    std::vector<qvo_seq_iterator_h> operands[2];
    Record results[2];
    for (const bool known : {true, false}) {
        for (const MakeOperand& one : make) operands[known].push_back(one(records, known));
        ASSERT_EQ(construct(results[known].get(), operands[known]), QVO_S_OK);
        qvo_double value;  // wide enough
        for (size_t i = 0; i < before; ++i)
            if (operands[known][0]->elem_type == QVO_DD_DOUBLE)
                qvo_seq_next_double(operands[known][0], &value);
            else
                qvo_seq_next_int4(operands[known][0], reinterpret_cast<qvo_int4*>(&value));
    }
    for (unsigned call = 0;; ++call) {
        SCOPED_TRACE(call);
        const QVO_RET rc = results[true]->next(results[true].get());
        ASSERT_EQ(rc, results[false]->next(results[false].get()));
        results[true]->tile_offs = results[false]->tile_offs = results[true]->tile_size;
        expect_same_record(results[true].it, results[false].it, "result");
        for (size_t k = 0; k < make.size(); ++k) {
            SCOPED_TRACE(k);
            expect_same_operand(*operands[true][k], *operands[false][k]);
        }
        if (testing::Test::HasFatalFailure() || rc != QVO_S_OK) return;
    }
}

struct Case {
    const char* name;
    Construct construct;
    std::string operands;  // d: double, i: int4, b: boolean, c: a constant, =: the one before once more
};
/// A constructor of operands alone, over so many of a list.
template <class... H> Construct over(QVO_RET (*construct)(qvo_seq_iterator_h, H...)) {
    return [=](auto r, auto& o) {
        return [&]<size_t... k>(std::index_sequence<k...>) { return construct(r, o[k]...); }
        (std::index_sequence_for<H...>{});
    };
}
#define CASE(name, operands) \
    { #name, over(name), operands }
const Case cases[] = {
    CASE(qvo_seq_add_double, "dd"),
    CASE(qvo_seq_mod_double, "dd"),
    CASE(qvo_seq_gt_int4, "ic"),
    CASE(qvo_seq_gt_int4, "ci"),
    CASE(qvo_seq_max_int4, "ii"),
    CASE(qvo_seq_filter_double, "bd"),
    CASE(qvo_seq_filter_int4, "bi"),
    CASE(qvo_seq_iif_double, "bdd"),
    CASE(qvo_seq_iif_int4, "bic"),
    CASE(qvo_seq_corr_double, "dd"),
    CASE(qvo_seq_agg_sum_double, "d"),
    CASE(qvo_seq_agg_max_int4, "i"),
    CASE(qvo_seq_agg_var_samp_int4, "i"),
    CASE(qvo_seq_cat, "di"),
    CASE(qvo_seq_filter_pos, "b"),
    CASE(qvo_seq_agg_min_max_double, "d"),
    CASE(qvo_seq_group_agg_sum_int4, "ib"),
    CASE(qvo_seq_group_agg_sum_int4, "cb"),
    CASE(qvo_seq_group_agg_sum_double, "dc"),
    CASE(qvo_seq_group_agg_sum_double, "di"),
    CASE(qvo_seq_group_agg_var_double, "db"),
    CASE(qvo_seq_group_agg_max_int4, "ib"),
    CASE(qvo_seq_group_agg_wavg_double, "ddb"),
    CASE(qvo_seq_group_agg_approxdc, "db"),
    CASE(qvo_seq_lt_double, "dd"),
    CASE(qvo_seq_neg_double, "d"),
    CASE(qvo_seq_int4_to_double, "i"),
    CASE(qvo_seq_double_to_int1, "d"),
    CASE(qvo_seq_int4_to_uint4, "i"),
    CASE(qvo_seq_norm_int4, "i"),
    CASE(qvo_seq_cum_agg_sum_int4, "i"),
    CASE(qvo_seq_cum_agg_avg_int4, "i"),
    CASE(qvo_seq_add_double, "d="),
    CASE(qvo_seq_filter_uint1, "b="),
    CASE(qvo_seq_iif_int4, "bi="),
    CASE(qvo_seq_corr_double, "d="),
    CASE(qvo_seq_group_agg_wavg_double, "d=b"),
    CASE(qvo_seq_group_agg_wavg_int4, "ii="),
    {"qvo_seq_window_agg_max_double", [](auto r, auto& o) { return qvo_seq_window_agg_max_double(r, o[0], 20); }, "d"},
};

/// Lengths about the ends of tiles, and of several.
size_t random_length(Random& random) {
    static constexpr size_t tiles[] = {0, 455, 819, 910, 1638, 2048, 2457, 4096, 6825};
    return tiles[random.below(std::size(tiles))] + random.below(random.chance(50) ? 3 : 500);
}

TEST(InPlace, IsAsIfItWereCopied) {
    for (unsigned seed = 0; seed < 40 * std::size(cases); ++seed) {
        const Case& c = cases[seed % std::size(cases)];
        SCOPED_TRACE(c.name + (" with seed " + std::to_string(seed)));
        Random random(seed);
        std::vector<qvo_double> doubles[3];
        std::vector<qvo_int4> integers[3];
        std::vector<qvo_uint1> conditions(random_length(random));
        for (auto& condition : conditions) condition = random.chance(30);
        std::vector<MakeOperand> make;
        for (size_t k = 0; k < c.operands.size(); ++k) {
            doubles[k].resize(random_length(random));
            for (auto& value : doubles[k]) value = random.between(0, 100) / 7.0 - 5;
            integers[k].resize(random_length(random));
            for (auto& value : integers[k]) value = static_cast<qvo_int4>(random.between(0, 100)) - 50;
            switch (c.operands[k]) {
                case 'd':
                    make.push_back(ARRAY(double)(doubles[k]));
                    break;
                case 'i':
                    make.push_back(ARRAY(int4)(integers[k]));
                    break;
                case 'b':
                    make.push_back(ARRAY(uint1)(conditions));
                    break;
                case 'c':
                    make.push_back(constant(7));
                    break;
                default:
                    make.push_back(again);
            }
        }
        const bool inside = c.operands[0] != 'b' && random.chance(30);
        check(c.construct, make, inside ? random.below(1000) : 0);
        if (HasFatalFailure()) return;
    }
}

/// Beside operands of other kinds, whose runs cross, whose tiles are short and which may end with an error.
TEST(InPlace, BesideOperandsThatArePulled) {
    for (unsigned seed = 0; seed < 200; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        std::vector<qvo_uint2> values(random_length(random));
        for (auto& value : values) value = static_cast<qvo_uint2>(random.below(seed % 8 == 3 ? 2 : 1000));
        const auto items = random_items<t_uint2>(random, random_length(random) + 4);
        const Script script = random_script(random, seed);
        std::vector<std::unique_ptr<Source>> sources;
        const MakeOperand other = [&](auto&, bool) {
            return sources.emplace_back(std::make_unique<Source>(t_uint2{}, items, script))->get();
        };
        const MakeOperand known = ARRAY(uint2)(values);
        const auto subtract = [](auto r, auto& o) { return qvo_seq_sub_uint2(r, o[0], o[1]); };
        const auto group = [](auto r, auto& o) { return qvo_seq_group_agg_sum_uint2(r, o[0], o[1]); };
        check(seed % 4 < 2 ? Construct(subtract) : Construct(group),
              seed % 2 == 0 ? std::vector{known, other} : std::vector{other, known});
        if (HasFatalFailure()) return;
    }
}

TEST(InPlace, ArraysThatAreNotAligned) {
    std::vector<uint8_t> bytes(8 * 3000 + 1, 0x3f);
    const auto* values = reinterpret_cast<const qvo_double*>(bytes.data() + 1);
    Record array, sum;
    ASSERT_EQ(qvo_seq_unget_double(array.get(), values, 3000), QVO_S_OK);
    ASSERT_EQ(qvo_seq_agg_sum_double(sum.get(), array.get()), QVO_S_OK);
    ASSERT_EQ(sum->next(sum.get()), QVO_S_OK);
    double value;
    std::memcpy(&value, bytes.data(), sizeof value);
    double expected = 0;
    for (int i = 0; i < 3000; ++i) expected += value;
    EXPECT_EQ(sum->tile.u.arr_double[0], expected);
}

}  // namespace
}  // namespace test
