// A naive statement of hash aggregation: groups, the order in which a table delivers them, parts that are merged; and
// the checks of a member that follow from it.
#pragma once

#include <algorithm>
#include <map>

#include "aggregate/formulas.h"

namespace test {

struct HashMember {
    const char* name;
    std::function<QVO_RET(qvo_seq_iterator_h agg, qvo_seq_iterator_h grp, qvo_seq_iterator_h values,
                          qvo_seq_iterator_h keys, qvo_size_t n_groups)>
        construct;
    qvo_seq_iterator_next_t next_agg, next_grp;
    qvo_seq_iterator_prepare_t prepare;
    qvo_seq_iterator_merge_t merge;
    uint8_t result;
    Model model;
};

/// The data of one part.
struct HashInput {
    Elements keys, values;
};

/// One part: its operands and its pair of results.
struct HashPart {
    std::unique_ptr<Source> keys, values;
    Record agg, grp;
    bool constructed = false;

    explicit HashPart(const HashInput& input, Script of_keys = {}, Script of_values = {})
        : keys(source_of(input.keys, of_keys)), values(source_of(input.values, of_values)) {}
    ~HashPart() {
        if (constructed) qvo_seq_release_hash(grp.get());
    }
    QVO_RET construct(const HashMember& member, uint64_t n_groups = 0) {
        const QVO_RET rc = member.construct(agg.get(), grp.get(), values->get(), keys->get(), n_groups);
        constructed = rc == QVO_S_OK;
        return rc;
    }
    QVO_RET prepare() { return agg->prepare(agg.get()); }
    QVO_RET merge(HashPart& other) { return agg->merge(agg.get(), other.agg.get()); }
};

inline uint32_t hash_of(const std::string& bytes, uint32_t seed = 377307) {
    return murmur_hash3_32(bytes.data(), bytes.size(), seed);
}

/// The number of chains that a table of this many groups ends with.
inline uint64_t chains_after(uint64_t wanted, size_t groups) {
    const auto prime = [](int i) { return uint64_t{qvo_int_get_prime_number(i)}; };
    int i = 0;
    while (i <= 27 && (wanted == 0 ? 1361 : wanted) > prime(i)) i += 2;
    uint64_t size = prime(i);
    for (size_t used = 1; used <= groups; ++used)
        if (used == static_cast<uint64_t>(static_cast<double>(size) * qvo_seq_hash_table_load_factor) - 1) {
            for (i = 0; prime(i) <= size;) ++i;
            size = prime(i);
        }
    return size;
}

/// What a member makes of all parts, in the order of delivery: by chain, and in a chain with the keys as numbers or, if
/// they are wide, as bytes.
struct Expected {
    std::vector<std::string> keys;
    Items<t_number> aggregates;

    Expected(const HashMember& member, const std::vector<HashInput>& parts, uint64_t wanted) {
        std::map<std::string, Group> groups;
        for (size_t p = 0; p < parts.size(); ++p) {
            const auto &keys_of_part = parts[p].keys, &values = parts[p].values;
            for_overlaps(keys_of_part, values, [&](size_t k, size_t v, unsigned n) {
                const Number number = values.type == QVO_DD_CHAR ? 0 : values.number(v);
                Group& group = groups[keys_of_part.items[k].value];
                group.type = values.type, group.result = member.result;
                group.stretches.push_back({number, 0, values.items[v].value, n, p});
            });
        }
        const uint64_t chains = chains_after(wanted, groups.size());
        std::map<std::pair<uint64_t, std::basic_string<unsigned char>>, std::string> ordered;
        for (const auto& group : groups) {
            const std::string& key = group.first;
            std::basic_string<unsigned char> rank(key.begin(), key.end());
            if (key.size() <= 8) std::reverse(rank.begin(), rank.end());
            ordered[{hash_of(key) % chains, rank}] = key;
        }
        for (const auto& [rank, key] : ordered) {
            keys.push_back(key);
            aggregates.push_back({member.model(groups[key]), 1});
        }
    }
};

/// What an iterator over keys of any type delivers, as bytes.
inline std::vector<std::string> drain_keys(qvo_seq_iterator_h it) {
    std::vector<std::string> keys;
    for (const auto& item : drain<t_char>(it)) {
        keys.push_back(item.value);
        EXPECT_EQ(item.run, 1U);
    }
    return keys;
}

/// Both results, twice.
inline void check_delivery(HashPart& part, const Expected& expected) {
    for (int round = 0; round < 2; ++round) {
        check_items<t_number>(drain<t_number>(part.agg.get()), expected.aggregates);
        EXPECT_TRUE(drain_keys(part.grp.get()) == expected.keys);
        EXPECT_EQ(part.agg->reset(part.agg.get()), QVO_S_OK);
        EXPECT_EQ(part.grp->reset(part.grp.get()), QVO_S_OK);
    }
}

inline void check_fields(const HashMember& member, HashPart& part) {
    const qvo_seq_iterator_t &agg = part.agg.it, &grp = part.grp.it, &keys = *part.keys->get();
    EXPECT_TRUE(agg.next == member.next_agg && grp.next == member.next_grp);
    EXPECT_TRUE(agg.prepare == member.prepare && agg.merge == member.merge);
    EXPECT_TRUE(grp.prepare == nullptr && grp.merge == nullptr);
    EXPECT_TRUE(agg.reset == qvo_seq_hash_agg_reset && grp.reset == qvo_seq_hash_agg_reset);
    EXPECT_TRUE(agg.elem_type == member.result && agg.elem_size == width_of(member.result));
    EXPECT_TRUE(grp.elem_type == keys.elem_type && grp.elem_size == keys.elem_size);
    EXPECT_TRUE(agg.opd[1] == &keys && grp.opd[1] == &keys && part.keys->n_next() == 0);
    EXPECT_TRUE(qvo_seq_is_hash_aggreate(part.agg.get()) && qvo_seq_is_hash_aggreate(part.grp.get()));
}

/// One member: whole and read again, with the results pulled in any order; in parts, any one of them empty, that start
/// with tables of any size.
inline void check_hash(const HashMember& member, Random& random, const HashInput& input) {
    SCOPED_TRACE(member.name);
    for (const size_t n_parts : {1, 2, 5}) {
        std::vector<std::unique_ptr<HashPart>> parts;
        std::vector<HashInput> inputs;
        uint64_t wanted = 0;
        const size_t empty = n_parts == 1 ? 1 : random.below(unsigned(n_parts));
        for (size_t p = 0; p < n_parts; ++p) {
            const size_t n = input.keys.items.size(), from = n * p / n_parts,
                         to = p == empty ? from : n * (p + 1) / n_parts;
            inputs.push_back({input.keys.cut(from, to), input.values.cut(from, n_parts == 1 ? SIZE_MAX : to)});
            parts.push_back(std::make_unique<HashPart>(inputs.back(), Script{random_tile_sizes(random)},
                                                       Script{random_tile_sizes(random)}));
            HashPart& part = *parts.back();
            const uint64_t n_groups = random.chance(30) ? 0 : random.below(100);
            if (p == 0) wanted = n_groups;
            ASSERT_EQ(part.construct(member, n_groups), QVO_S_OK);
            check_fields(member, part);
            if (random.chance(50)) { ASSERT_EQ(part.prepare(), QVO_S_OK); }
            if (p != 0) { ASSERT_EQ(parts[0]->merge(part), QVO_S_OK); }
        }
        HashPart& all = *parts[0];
        ASSERT_EQ(all.merge(all), QVO_S_OK) << "nothing to add";
        if (random.chance(50)) {
            EXPECT_EQ(all.grp->next(all.grp.get()), QVO_S_OK);
            EXPECT_EQ(all.grp->reset(all.grp.get()), QVO_S_OK);
        }
        check_delivery(all, Expected(member, inputs, wanted));
        if (testing::Test::HasFailure()) return;
    }
}

/// An operand's error ends every build, also that of either side of a merge; an empty tile is the fatal stop.
inline void check_operands_that_stop(const HashMember& member) {
    const Elements elements = elements_of<t_int4>(Items<t_int4>(3000, {1, 2}));
    const Script error{{}, 1000, 4711}, empty{{}, 1000, QVO_S_OK};
    for (const bool keys : {false, true}) {
        HashPart r({elements, elements}, keys ? error : Script{}, keys ? Script{} : error), other({elements, elements});
        ASSERT_EQ(r.construct(member), QVO_S_OK);
        ASSERT_EQ(other.construct(member), QVO_S_OK);
        EXPECT_EQ(r.grp->next(r.grp.get()), 4711);
        EXPECT_EQ(r.agg->next(r.agg.get()), 4711);
        EXPECT_TRUE(r.merge(other) == 4711 && other.merge(r) == 4711);
        HashPart stopped({elements, elements}, keys ? empty : Script{}, keys ? Script{} : empty);
        ASSERT_EQ(stopped.construct(member), QVO_S_OK);
        EXPECT_TRUE(catch_stop([&] { stopped.agg->next(stopped.agg.get()); }).stopped);
    }
}

/// Every allocation in turn fails, once and for ever, until what needs them succeeds, which takes some: act(allocator,
/// n) tells its allocator when to fail.
inline void for_failing_allocations(const std::function<QVO_RET(Allocator&, size_t n, bool forever)>& act) {
    for (const bool forever : {false, true})
        for (size_t n = 0;; ++n) {
            Allocator allocator;
            const QVO_RET rc = act(allocator, n, forever);
            if (testing::Test::HasFailure()) return;
            EXPECT_TRUE(rc == QVO_S_OK ? n > 2 : rc == QVO_E_NOMEM) << rc << ", allocation " << n;
            if (rc == QVO_S_OK) break;
        }
}

/// While the tables are built: the next build has all.
inline void check_out_of_memory(const HashMember& member, const HashInput& input, uint64_t wanted) {
    const Expected expected(member, {input}, wanted);
    for_failing_allocations([&](Allocator& allocator, size_t n, bool forever) {
        HashPart part(input);
        allocator.fail_at(n, forever);
        QVO_RET rc = part.construct(member, wanted);
        if (rc == QVO_S_OK) rc = part.prepare();
        if (rc == QVO_S_OK) rc = part.agg->next(part.agg.get());
        allocator.never_fail();
        if (!part.constructed) return rc;
        if (rc == QVO_S_OK)
            EXPECT_EQ(part.agg->reset(part.agg.get()), QVO_S_OK);
        else
            for (const auto& source : {part.keys->get(), part.values->get()}) source->reset(source);
        if (n % 2 != 0) {  // whichever result is asked first
            EXPECT_EQ(drain_keys(part.grp.get()), expected.keys);
            EXPECT_EQ(part.grp->reset(part.grp.get()), QVO_S_OK);
        }
        check_delivery(part, expected);
        return rc;
    });
}

/// While two parts are merged that are built: nothing is lost, the table only has fewer chains than it would. Before
/// one of them is built, nothing is merged.
inline void check_merge_out_of_memory(const HashMember& member, const std::vector<HashInput>& inputs, uint64_t wanted) {
    const Expected expected(member, inputs, wanted);
    const auto by_key = [](const std::vector<std::string>& keys, const Items<t_number>& aggregates) {
        EXPECT_EQ(keys.size(), aggregates.size());
        std::map<std::string, Number> groups;
        for (size_t i = 0; i < std::min(keys.size(), aggregates.size()); ++i) groups[keys[i]] = aggregates[i].value;
        EXPECT_EQ(keys.size(), groups.size());
        return groups;
    };
    {
        Allocator allocator;
        HashPart a(inputs[0]), b(inputs[1]);
        EXPECT_TRUE(a.construct(member, wanted) == QVO_S_OK && b.construct(member, wanted) == QVO_S_OK);
        EXPECT_EQ(a.prepare(), QVO_S_OK);
        allocator.fail_at(0, true);
        EXPECT_EQ(a.merge(b), QVO_E_NOMEM);
        allocator.never_fail();
        EXPECT_EQ(a.merge(b), QVO_S_OK);
        check_delivery(a, expected);
    }
    for_failing_allocations([&](Allocator& allocator, size_t n, bool forever) {
        HashPart a(inputs[0]), b(inputs[1]);
        for (HashPart* part : {&a, &b})
            EXPECT_TRUE(part->construct(member, wanted) == QVO_S_OK && part->prepare() == QVO_S_OK);
        allocator.fail_at(n, forever);
        const QVO_RET rc = a.merge(b);
        const auto aggregates = drain<t_number>(a.agg.get());
        const auto keys = drain_keys(a.grp.get());
        allocator.never_fail();
        EXPECT_TRUE(by_key(keys, aggregates) == by_key(expected.keys, expected.aggregates));
        EXPECT_EQ(b.agg->next(b.agg.get()), QVO_S_CURSOR_END) << "the other side has nothing left";
        return rc;
    });
}

/// Wide keys that often differ at their end only.
inline std::string random_key(Random& random, unsigned distinct, size_t width) {
    std::string key(width, 'k');
    const unsigned n = random.below(distinct);
    for (size_t i = 0; i < std::min<size_t>(width, 4); ++i) key[width - 1 - i] = static_cast<char>(n >> (8 * i));
    return key;
}
inline Elements random_keys(Random& random, size_t n, unsigned distinct, size_t width) {
    return {QVO_DD_CHAR, width,
            random_items<t_char>(random, n, [=](Random& r) { return random_key(r, distinct, width); })};
}

}  // namespace test
