// The group loop stated step by step on the records, for members whose result is a function of the group's steps.
#pragma once

#include <memory>

#include "support/protocol.h"

namespace test {

/// One step of a group: the values of the operands and the positions.
template <class V> struct GroupStep {
    V v, w;
    unsigned n;
};
template <class V> using GroupSteps = std::vector<GroupStep<V>>;

/// `next` of a member; what it keeps between calls is in the returned function.
template <class V, class R, class Model>
std::function<QVO_RET(qvo_seq_iterator_h)> literal_group_next(size_t n_operands, Model model) {
    struct Kept {
        GroupSteps<V> group;
        uint64_t count = 0;
        std::string key;
    };
    return [=, kept = std::make_shared<Kept>()](qvo_seq_iterator_h it) -> QVO_RET {
        const qvo_seq_iterator_h group_by = it->opd[n_operands - 1];
        const size_t width = group_by->elem_size;
        const bool whole = width == 1 || width == 2 || width == 4 || width == 8;
        const size_t capacity = std::min(capacity_of(it->elem_size), whole ? 4096 : 4096 / width);
        size_t k = 0;
        const auto close = [&] {
            literal_put(it, k, static_cast<R>(model(kept->group)));
            literal_put_run(it, k++, 1);
            ++it->next_seq_no;
            kept->group.clear();
            kept->count = 0;
        };
        for (;;) {
            for (size_t o = 0; o < n_operands; ++o) {
                const qvo_seq_iterator_h operand = it->opd[o];
                if (operand->tile_offs < operand->tile_size) continue;
                const QVO_RET rc = operand->next(operand);
                if (rc == QVO_S_CURSOR_END && k + kept->count != 0) {
                    if (kept->count != 0) close();
                    it->tile_size = static_cast<uint16_t>(k);
                    return QVO_S_OK;
                }
                if (rc != QVO_S_OK) return rc;
                operand->tile_offs = 0;
            }
            unsigned n = 255;
            for (size_t o = 0; o < n_operands; ++o) n = std::min(n, literal_run_left(it->opd[o]));
            if (group_by->rle_offs == 0) {
                const size_t at = whole ? group_by->tile_offs : k;
                const std::string key(group_by->tile.u.arr_char + at * width, width);
                const bool differs = key != kept->key;
                kept->key = key;
                if (kept->count != 0 && differs) {
                    close();
                    if (k == capacity) {
                        it->tile_size = static_cast<uint16_t>(k);
                        return QVO_S_OK;
                    }
                }
            }
            const auto value = [&](size_t o) { return literal_value<V>(it->opd[o], it->opd[o]->tile_offs); };
            kept->group.push_back({value(0), n_operands == 3 ? value(1) : V{}, n});
            kept->count += n;
            for (size_t o = 0; o < n_operands; ++o) literal_take(it->opd[o], n);
        }
    };
}

/// Keys that stay the same over several elements now and then, and come again.
template <class K> Items<K> random_group_keys(Random& random, size_t n, size_t width = 0) {
    const unsigned stays = random.below(3) * 45;
    std::vector<typename K::value> values(4);
    size_t now = 0;
    return random_items<K>(random, n, [&](Random& r) {
        if (!r.chance(stays)) now = r.below(4);
        if constexpr (std::is_same_v<K, t_char>)
            return std::string(width - 1, 'k') + static_cast<char>('a' + now);
        else
            return static_cast<typename K::value>(now * 77 - 100);
    });
}

/// A member against the model: keys of all widths, random runs and tile sizes, an operand that fails.
template <class T, class R, class Model> void check_group(Member member, size_t n_operands, Model model) {
    SCOPED_TRACE(member.name);
    for (unsigned seed = 0; seed < 7; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const size_t n = seed == 0 ? 6 : random.between(1, 2500);
        member.operands.clear();
        for (size_t o = 1; o < n_operands; ++o) member.operands.push_back(operand<T>(random_items<T>(random, n)));
        switch (seed % 6) {
            case 0:
                member.operands.push_back(operand<t_int4>(random_group_keys<t_int4>(random, n)));
                break;
            case 1:
                member.operands.push_back(operand<t_int1>(random_group_keys<t_int1>(random, n)));
                break;
            case 2:
                member.operands.push_back(operand<t_uint2>(random_group_keys<t_uint2>(random, n)));
                break;
            case 3:
                member.operands.push_back(operand<t_datetime>(random_group_keys<t_datetime>(random, n)));
                break;
            default: {
                const size_t width = seed % 6 == 4 ? 3 : 30;
                member.operands.push_back(operand<t_char>(random_group_keys<t_char>(random, n, width), width));
            }
        }
        if (seed == 0) check_protocol(member);
        std::vector<Script> scripts(n_operands);
        for (Script& script : scripts) script.tile_sizes = random_tile_sizes(random);
        if (seed % 3 == 2) scripts[seed % n_operands].stop_at = random.below(1000);
        for (Script& script : scripts) script.stop_code = 4711;
        check_steps(member, literal_group_next<typename T::value, typename R::value>(n_operands, model), scripts);
        if (testing::Test::HasFailure()) return;
    }
}

/// What the members with values and keys have in common.
inline Member group_member(const char* name,
                           QVO_RET (*construct)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h),
                           qvo_seq_iterator_next_t next, uint8_t type, size_t width) {
    Member member;
    member.name = name;
    member.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) { return construct(it, o[0], o[1]); };
    member.next = next;
    member.reset = qvo_seq_reset_binary_agg_iterator;
    member.type = type;
    member.width = width;
    member.aggregate = true;
    member.own_refusals = true;
    return member;
}

}  // namespace test
