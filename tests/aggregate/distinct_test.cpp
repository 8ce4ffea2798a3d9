// Estimates of distinct counts: the hash, the sketch, the estimate, whole sequences and groups.
#include <array>

#include "aggregate/group_model.h"
#include "aggregate/parts.h"

namespace test {
namespace {

using Registers = std::array<uint8_t, 128>;

/// The rules stated bit by bit, fed with the hash of the library (which has a test of its own).
void model_enter(Registers& registers, uint32_t hash) {
    unsigned rank = 1;
    for (uint32_t h = hash; (h & 1) == 0 && rank < 26; h >>= 1) ++rank;
    uint8_t& entry = registers[hash >> 25];
    if (rank > entry) entry = static_cast<uint8_t>(rank);
}
uint32_t model_estimate(const Registers& registers) {
    double z = 0;
    int zeros = 0;
    for (const uint8_t r : registers) z += 1 / std::pow(2.0, r), zeros += r == 0;
    double e = 128 * (128 * (0.7213 / (1 + 1.079 / 128))) / z;
    if (e <= 320) {
        if (zeros > 0) e = 128 * std::log(128.0 / zeros);
    } else if (e > 4294967295.0 * 0.03333333333333333) {
        e = -4294967295.0 * std::log(1 - e / 4294967295.0);
    }
    return std::isnan(e) || std::isinf(e) ? 0 : static_cast<uint32_t>(static_cast<int64_t>(e));
}
uint32_t hash_of(const std::string& bytes) { return murmur_hash3_32(bytes.data(), bytes.size(), 377307); }

TEST(Murmur3, HasThePublishedValues) {
    const struct {
        std::string text;
        uint32_t seed, hash;
    } cases[] = {{"", 0, 0},
                 {"", 1, 0x514e28b7},
                 {"", 0xffffffff, 0x81f16f39},
                 {"a", 0x9747b28c, 0x7fa09ea6},
                 {"aa", 0x9747b28c, 0x5d211726},
                 {"aaa", 0x9747b28c, 0x283e0130},
                 {"aaaa", 0x9747b28c, 0x5a97808a},
                 {"Hello, world!", 0x9747b28c, 0x24884cba},
                 {"The quick brown fox jumps over the lazy dog", 0x9747b28c, 0x2fa826cd}};
    for (const auto& c : cases) EXPECT_EQ(murmur_hash3_32(c.text.data(), c.text.size(), c.seed), c.hash) << c.text;
}

TEST(Sketch, RanksAndRegisters) {
    Random random(1);
    Registers actual[2]{}, expected[2]{};
    for (unsigned i = 0; i < 400; ++i) {
        const unsigned shift = random.below(40);
        const uint32_t hash = shift > 31 ? random.below(128) << 25 : random.value<uint32_t>() << shift;
        calculate_zero_bits(hash, actual[i % 2].data());
        model_enter(expected[i % 2], hash);
        EXPECT_EQ(actual[i % 2], expected[i % 2]);
    }
    merge_zero_bits(actual[0].data(), actual[1].data());
    for (size_t r = 0; r < 128; ++r) EXPECT_EQ(actual[0][r], std::max(expected[0][r], expected[1][r]));
    EXPECT_EQ(actual[1], expected[1]);
}

TEST(Sketch, EstimatesInAllThreeRanges) {
    Random random(1);
    for (unsigned round = 0; round < 300; ++round) {
        Registers registers{};
        const unsigned most = 1 + round % 26;
        for (uint8_t& r : registers)
            if (!random.chance(round % 7 * 10)) r = static_cast<uint8_t>(random.between(most / 2, most));
        EXPECT_EQ(approximate_distinct_count(registers.data()), model_estimate(registers)) << "round " << round;
    }
    Registers full;
    full.fill(26);
    EXPECT_EQ(approximate_distinct_count(full.data()), 0U) << "not a number";
}

uint32_t estimate_of(const std::vector<Part>& parts) {
    Registers registers{};
    for (const Part& part : parts)
        for (const auto& item : part[0].items) model_enter(registers, hash_of(item.value));
    return model_estimate(registers);
}

/// In one piece and in parts, and from the hashes of the values.
void check_whole(Random& random, const std::function<Elements(Random&, size_t n)>& draw) {
    Member member = aggregate_member(MEMBER(qvo_seq_agg_approxdc), qvo_seq_agg_approxdc_merge, QVO_DD_UINT4);
    member.operands = {operand(draw(random, 5))};
    member.type_checked = {false};
    check_protocol(member);
    Member of_hashes = aggregate_member(MEMBER(qvo_seq_agg_approxdc_hash), nullptr, QVO_DD_UINT4);
    of_hashes.operands = {operand(random_elements(random, QVO_DD_UINT4, 5))};
    check_protocol(of_hashes);
    for (const unsigned n : {0U, 5U, 70U, 700U, 4000U}) {
        const auto draw_part = [&](Random& r) { return Part{draw(r, n == 0 ? 0 : r.below(n) + 1)}; };
        const auto model = [](const auto& parts) { return Items<t_number>{{Number(estimate_of(parts))}}; };
        check_parts(member, draw_part, random, model, true);
        const Part part = draw_part(random);
        Elements hashes{QVO_DD_UINT4, 4, {}};
        for (const auto& item : part[0].items)
            hashes.items.push_back({bytes_of(QVO_DD_UINT4, hash_of(item.value)), item.run});
        check_items<t_uint4>(drained<t_uint4>(qvo_seq_agg_approxdc_hash, source_of(hashes)->get()),
                             {{estimate_of({part})}});
    }
}

#define TEST_MEMBER(type) \
    check_whole(random, [](Random& r, size_t n) { return random_elements(r, t_##type::code, n); });

TEST(ApproximateDistinct, FollowsTheModelAndEmptyInputGivesOneElement_deliberate) {
    Random random(1);
    QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER)
    check_whole(random, [](Random& r, size_t n) {
        return Elements{QVO_DD_CHAR, 21, random_strings(r, n, "ab", 21, 21)};
    });
}

void check_groups(const char* name, ConstructBinary construct, qvo_seq_iterator_next_t next, uint8_t type,
                  bool hashed) {
    Member member = group_member(name, construct, next, QVO_DD_UINT4);
    member.bound = {true, false};
    member.aggregate = false;
    check_group(member, type, 2, [=](const Group& group) -> Number {
        Registers registers{};
        for (const Stretch& s : group.stretches)
            model_enter(registers, hashed ? static_cast<uint32_t>(s.v) : hash_of(s.bytes));
        return model_estimate(registers);
    });
}

#define TEST_GROUPS(type) check_groups(MEMBER(qvo_seq_group_agg_approxdc), t_##type::code, false);

TEST(ApproximateDistinct, OfGroups) {
    QVO_SEQ_FOR_FIXED_TYPES(TEST_GROUPS)
    check_groups(MEMBER(qvo_seq_group_agg_approxdc_hash), QVO_DD_UINT4, true);
}

TEST(ApproximateDistinct, OfGroupsRefusals) {
    Source values(t_int4{}, {{1}}), keys(t_char{}, {{"k"}}, {}, 40), wide(t_char{}, {{"k"}}, {}, 41);
    expect_refused(QVO_E_ILLEGAL_TYPE, qvo_seq_group_agg_approxdc_hash, values.get(), keys.get());
    EXPECT_EQ(values->bounded, 0);
    expect_refused(QVO_E_ILLEGAL_PARAM, qvo_seq_group_agg_approxdc, values.get(), wide.get());
    const BindingCheck check;
    expect_refused(QVO_E_SEQ_BOUNDED, qvo_seq_group_agg_approxdc, values.get(), keys.get());
    values->bounded = 0;
    keys->bounded = 1;
    Record it;
    EXPECT_EQ(qvo_seq_group_agg_approxdc(it.get(), values.get(), keys.get()), QVO_S_OK) << "the key is not checked";
}

TEST(Distinct, MergingAPartThatWasNeverComputedChangesNothing) {
    Source values(t_int4{}, {{1}, {2}, {3}}), other(t_int4{}, {{4}});
    Record part, never;
    ASSERT_EQ(qvo_seq_agg_approxdc(part.get(), values.get()), QVO_S_OK);
    ASSERT_EQ(qvo_seq_agg_approxdc(never.get(), other.get()), QVO_S_OK);
    ASSERT_EQ(part->next(part.get()), QVO_S_OK);
    EXPECT_EQ(part->merge(part.get(), never.get()), QVO_S_OK);
    check_items<t_uint4>(tile_items<t_uint4>(part.it), {{3}});
}

}  // namespace
}  // namespace test
