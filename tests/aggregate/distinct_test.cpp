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
    const auto hash = [](const std::string& text, uint32_t seed) {
        return murmur_hash3_32(text.data(), text.size(), seed);
    };
    EXPECT_EQ(hash("", 0), 0U);
    EXPECT_EQ(hash("", 1), 0x514e28b7U);
    EXPECT_EQ(hash("", 0xffffffff), 0x81f16f39U);
    EXPECT_EQ(hash("a", 0x9747b28c), 0x7fa09ea6U);
    EXPECT_EQ(hash("aa", 0x9747b28c), 0x5d211726U);
    EXPECT_EQ(hash("aaa", 0x9747b28c), 0x283e0130U);
    EXPECT_EQ(hash("aaaa", 0x9747b28c), 0x5a97808aU);
    EXPECT_EQ(hash("abc", 0), 0xb3dd93faU);
    EXPECT_EQ(hash("Hello, world!", 0x9747b28c), 0x24884cbaU);
    EXPECT_EQ(hash("The quick brown fox jumps over the lazy dog", 0x9747b28c), 0x2fa826cdU);
}

TEST(Sketch, RanksAndRegisters) {
    Registers registers{}, other{};
    calculate_zero_bits(0, registers.data());
    EXPECT_EQ(registers[0], 26);
    calculate_zero_bits(0x2000000, registers.data());  // register 1; the rank does not look at its bits
    EXPECT_EQ(registers[1], 26);
    calculate_zero_bits(0xfe000008, registers.data());
    calculate_zero_bits(0xfe000001, registers.data());  // a lower rank changes nothing
    EXPECT_EQ(registers[127], 4);
    calculate_zero_bits(0xfe000010, other.data());
    merge_zero_bits(registers.data(), other.data());
    EXPECT_EQ(registers[127], 5);
    EXPECT_EQ(registers[0], 26);
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

/// In one piece and in parts, and from the hashes of the values.
void check_whole(Random& random, const Elements& elements) {
    Member member = aggregate_member(MEMBER(qvo_seq_agg_approxdc), qvo_seq_agg_approxdc_merge, QVO_DD_UINT4);
    member.operands = {operand(elements)};
    member.type_checked = {false};
    Member of_hashes = aggregate_member(MEMBER(qvo_seq_agg_approxdc_hash), nullptr, QVO_DD_UINT4);
    Registers registers{};
    Elements hashes{QVO_DD_UINT4, 4, {}};
    for (const auto& item : elements.items) {
        const uint32_t hash = hash_of(item.value);
        hashes.items.push_back({bytes_of(QVO_DD_UINT4, hash), item.run});
        model_enter(registers, hash);
    }
    of_hashes.operands = {operand(hashes)};
    if (elements.items.size() >= 4) {
        check_protocol(member);
        check_protocol(of_hashes);
    }
    const Items<t_uint4> expected{{model_estimate(registers)}};
    check_items<t_uint4>(drained<t_uint4>(qvo_seq_agg_approxdc_hash, source_of(hashes)->get()), expected);
    for (const size_t n_parts : {1, 2, 5}) {
        const auto cut = cuts(random, elements.items.size(), n_parts);
        Parts parts(member, {[&](size_t p) {
                        return source_of(elements.cut(cut[p], cut[p + 1]), {random_tile_sizes(random)});
                    }},
                    n_parts);
        parts.join([](size_t) { return false; });
        check_items<t_uint4>(delivered<t_uint4>(parts.part(0)), expected);
    }
}

#define TEST_MEMBER(type) \
    for (const size_t n : {5, 70, 700, 4000}) check_whole(random, random_elements(random, t_##type::code, n));

TEST(ApproximateDistinct, FollowsTheModel) {
    Random random(1);
    QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER)
    check_whole(random, elements_of<t_char>(Items<t_char>(10000, {"a string of 21 bytes.", 3}), 21));
}

TEST(ApproximateDistinct, EmptyInputGivesOneElement_deliberate) {
    Random random(1);
    check_whole(random, elements_of<t_int4>({}));
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
    Record it;
    EXPECT_EQ(qvo_seq_group_agg_approxdc_hash(it.get(), values.get(), keys.get()), QVO_E_ILLEGAL_TYPE);
    EXPECT_EQ(values->bounded, 0);
    EXPECT_EQ(qvo_seq_group_agg_approxdc(it.get(), values.get(), wide.get()), QVO_E_ILLEGAL_PARAM);
    const BindingCheck check;
    EXPECT_EQ(qvo_seq_group_agg_approxdc(it.get(), values.get(), keys.get()), QVO_E_SEQ_BOUNDED);
    values->bounded = 0;
    keys->bounded = 1;
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
