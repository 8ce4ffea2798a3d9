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

Member whole_member(MakeSource input) {
    Member member;
    member.name = "qvo_seq_agg_approxdc";
    member.operands = {std::move(input)};
    member.construct = [](qvo_seq_iterator_h it, const Member::Operands& o) { return qvo_seq_agg_approxdc(it, o[0]); };
    member.type = QVO_DD_UINT4;
    member.width = 4;
    member.next = qvo_seq_agg_approxdc_next;
    member.reset = qvo_seq_reset_unary_iterator;
    member.prepare = qvo_seq_prepare_aggregate;
    member.merge = qvo_seq_agg_approxdc_merge;
    member.aggregate = true;
    member.type_checked = {false};
    member.stops_on_empty = {false};
    return member;
}

/// In one piece and in parts, and from the hashes of the values.
void check_whole(uint8_t type) {
    SCOPED_TRACE(testing::Message() << "type " << int{type});
    for (unsigned seed = 0; seed < 6; ++seed) {
        Random random(seed);
        const auto elements = random_elements(random, type, seed == 0 ? 5 : random.between(1, 4000));
        const size_t n = elements.items.size();
        Registers registers{};
        Items<t_uint4> hashes;
        for (const auto& item : elements.items) {
            hashes.push_back({hash_of(item.value), item.run});
            model_enter(registers, hashes.back().value);
        }
        const Items<t_uint4> expected{{model_estimate(registers)}};
        const Member member = whole_member(operand(elements));
        if (seed == 0) check_protocol(member);

        Source hashed(t_uint4{}, hashes);
        Record from_hashes;
        ASSERT_EQ(qvo_seq_agg_approxdc_hash(from_hashes.get(), hashed.get()), QVO_S_OK);
        check_items<t_uint4>(drain<t_uint4>(from_hashes.get()), expected);
        for (const size_t n_parts : {1, 2, 5}) {
            const auto cut = cuts(random, n, n_parts);
            Parts parts(member, {[&](size_t p) {
                            return source_of(elements.cut(cut[p], cut[p + 1]), {random_tile_sizes(random)});
                        }},
                        n_parts);
            parts.join([](size_t) { return false; });
            check_items<t_uint4>(delivered<t_uint4>(parts.part(0)), expected);
        }
    }
}

#define TEST_MEMBER(type) check_whole(t_##type::code);

TEST(ApproximateDistinct, FollowsTheModel) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

TEST(ApproximateDistinct, EmptyInputGivesOneElement_deliberate) {
    Source source(t_int4{}, {}), hashes(t_uint4{}, {}), prepared(t_int4{}, {});
    Record it, from_hashes, ahead;
    ASSERT_EQ(qvo_seq_agg_approxdc(it.get(), source.get()), QVO_S_OK);
    check_items<t_uint4>(drain<t_uint4>(it.get()), {{0}});
    ASSERT_EQ(qvo_seq_agg_approxdc_hash(from_hashes.get(), hashes.get()), QVO_S_OK);
    check_items<t_uint4>(drain<t_uint4>(from_hashes.get()), {{0}});
    ASSERT_EQ(qvo_seq_agg_approxdc(ahead.get(), prepared.get()), QVO_S_OK);
    EXPECT_EQ(ahead->prepare(ahead.get()), QVO_S_OK);
    EXPECT_EQ(ahead->next(ahead.get()), QVO_S_OK);
    EXPECT_EQ(ahead->next(ahead.get()), QVO_S_CURSOR_END);
}

TEST(ApproximateDistinct, CountsStringsAndRepeats) {
    Items<t_char> items(10000, {"a string of 21 bytes.", 3});
    Source source(t_char{}, items, {}, 21);
    Record it;
    ASSERT_EQ(qvo_seq_agg_approxdc(it.get(), source.get()), QVO_S_OK);
    check_items<t_uint4>(drain<t_uint4>(it.get()), {{1}});
}

TEST(ApproximateDistinct, HashFormProtocol) {
    Random random(3);
    Member member = whole_member(operand<t_uint4>(random_items<t_uint4>(random, 2000)));
    member.name = "qvo_seq_agg_approxdc_hash";
    member.construct = [](qvo_seq_iterator_h it, const Member::Operands& o) {
        return qvo_seq_agg_approxdc_hash(it, o[0]);
    };
    member.next = qvo_seq_agg_approxdc_hash_next;
    member.prepare = nullptr;
    member.merge = nullptr;
    member.aggregate = false;
    member.type_checked = {};
    check_protocol(member);
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

}  // namespace
}  // namespace test
