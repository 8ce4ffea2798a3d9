// The walk over a group at a time, stated step by step: keys, values, and the result of each group.
#pragma once

#include <algorithm>

#include "aggregate/formulas.h"

namespace test {

/// `next` of a member; what it keeps between calls is in the returned function.
inline Steps literal_group_next(size_t n_operands, const Model& model) {
    return
        [=, group = Group{}, count = uint64_t{0}, last_key = std::string()](qvo_seq_iterator_h it) mutable -> QVO_RET {
            const qvo_seq_iterator_h group_by = it->opd[n_operands - 1];
            const size_t width = group_by->elem_size;
            const bool whole = width == 1 || width == 2 || width == 4 || width == 8;
            const size_t capacity = std::min(capacity_of(it->elem_size), whole ? 4096 : 4096 / width);
            size_t k = 0;
            const auto close = [&] {
                group.type = it->opd[0]->elem_type;
                group.result = it->elem_type;
                literal_put_number(it, k++, it->elem_type, model(group));
                ++it->next_seq_no;
                group.stretches.clear();
                count = 0;
            };
            for (;;) {
                for (size_t o = 0; o < n_operands; ++o) {
                    const qvo_seq_iterator_h operand = it->opd[o];
                    if (operand->tile_offs < operand->tile_size) continue;
                    const QVO_RET rc = operand->next(operand);
                    if (rc == QVO_S_CURSOR_END && k + count != 0) {
                        if (count != 0) close();
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
                    const bool differs = std::exchange(last_key, key) != key;
                    if (count != 0 && differs) {
                        close();
                        if (k == capacity) {
                            it->tile_size = static_cast<uint16_t>(k);
                            return QVO_S_OK;
                        }
                    }
                }
                const auto value = [&](size_t o) { return literal_number(it->opd[o], it->opd[o]->tile_offs); };
                const Number v = value(0);
                if (count == 0) group.stretches.clear();  // a step without positions has opened no group
                group.stretches.push_back(
                    {v, n_operands == 3 ? value(1) : 0, bytes_of(it->opd[0]->elem_type, v), n, /*part=*/0});
                count += n;
                for (size_t o = 0; o < n_operands; ++o) literal_take(it->opd[o], n);
            }
        };
}

/// Keys that never or now and then stay the same over several elements, come again, and differ in one byte.
inline Elements random_group_keys(Random& random, size_t n, uint8_t type, size_t width) {
    const unsigned stays = random.below(3) * 49, at = random.below(static_cast<unsigned>(width));
    std::string key(width, 'a');
    return {type, width, random_items<t_char>(random, n, [&](Random& r) {
                if (!r.chance(stays)) key[at] = static_cast<char>('a' + (key[at] - 'a' + r.between(1, 3)) % 4);
                return key;
            })};
}

/// A member against the model: keys of all widths, random runs or none, random tile sizes, an operand that fails.
inline void check_group(Member member, uint8_t type, size_t n_operands, const Model& model) {
    static constexpr struct {
        uint8_t type;
        size_t width;
    } keys[] = {{QVO_DD_INT4, 4},     {QVO_DD_INT1, 1}, {QVO_DD_UINT2, 2},
                {QVO_DD_DATETIME, 8}, {QVO_DD_CHAR, 3}, {QVO_DD_CHAR, 30}};
    check_random(std::move(member), 13, [&](Random& random, unsigned seed, Member& m) {
        const size_t n = seed == 0 ? 6 : random.between(1, 2500);
        const auto& key = keys[seed % 6];
        // The keys are drawn first: the same ones, and ends of groups, for all types of values.
        std::vector<Elements> elements{random_group_keys(random, n, key.type, key.width)};
        while (elements.size() < n_operands) elements.insert(elements.begin(), random_elements(random, type, n));
        m.operands.clear();
        // A host has begun inside the first key, which is not looked at then.
        m.before = nullptr;
        if (seed % 5 == 3)
            m.before = [](const Member::Operands& operands) {
                const qvo_seq_iterator_h group_by = operands.back();
                if (group_by->next(group_by) != QVO_S_OK) return;
                group_by->tile_offs = 0;
                group_by->rle_offs = 1;
            };
        for (Elements& e : elements) {
            for (auto& item : e.items) {
                item.run = (seed + seed / 6) % 2 == 1 ? 1 : item.run;
                if (seed % 4 == 2 && random.chance(20)) item.run = 0;
            }
            if (m.before && &e == &elements.back()) e.items[0].run = 2;
            m.operands.push_back(operand(e));
        }
        return literal_group_next(n_operands, model);
    });
}

/// What the members with values and keys have in common.
inline Member group_member(const char* name, ConstructBinary construct, qvo_seq_iterator_next_t next, uint8_t type) {
    Member member = binary_member(name, construct, next, type, width_of(type), qvo_seq_reset_binary_agg_iterator);
    member.aggregate = true;
    member.own_refusals = true;
    return member;
}

}  // namespace test
