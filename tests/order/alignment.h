// What the tests of the alignment families share: members by name, operands of their types, and the parts of the
// literal steps. The steps are stated on bytes, so that one statement serves all types.
#pragma once

#include "support/number.h"

namespace test {

/// One member, its filler (where it has one) as bytes.
struct Alignment {
    const char* name;
    uint8_t ts, type;
    QVO_RET (*construct)(qvo_seq_iterator_h, const Member::Operands&, const std::string& filler);
    qvo_seq_iterator_next_t next;
    qvo_seq_iterator_reset_t reset;
};

inline std::string literal_bytes(const qvo_seq_iterator_t* it, size_t i) {
    return std::string(it->tile.u.arr_char + i * it->elem_size, it->elem_size);
}
inline uint64_t literal_stamp(const qvo_seq_iterator_t* it) {
    const size_t i = it->tile_offs;
    return it->elem_size == 4 ? literal_value<uint32_t>(it, i) : literal_value<uint64_t>(it, i);
}
inline void literal_put_single(qvo_seq_iterator_h it, size_t i, const std::string& bytes) {
    std::memcpy(it->tile.u.arr_char + i * it->elem_size, bytes.data(), bytes.size());
    literal_put_run(it, i, 1);
}

/// Refills an operand; what it returns is up to the caller.
inline QVO_RET literal_pull(qvo_seq_iterator_h operand) {
    if (operand->tile_offs < operand->tile_size) return QVO_S_OK;
    const QVO_RET rc = operand->next(operand);
    if (rc == QVO_S_OK) operand->tile_offs = 0;
    return rc;
}

/// The next position of the values.
inline QVO_RET literal_take_value(qvo_seq_iterator_h values, std::string* bytes) {
    if (const QVO_RET rc = literal_pull(values); rc != QVO_S_OK) return rc;
    *bytes = literal_bytes(values, values->tile_offs);
    literal_take(values, 1);
    return QVO_S_OK;
}

/// Ends a call that has produced n elements.
inline QVO_RET literal_deliver(qvo_seq_iterator_h it, size_t n) {
    it->tile_size = static_cast<uint16_t>(n);
    it->next_seq_no += n;
    return QVO_S_OK;
}

/// Timestamps that mostly ascend, with equal ones among them, and the extremes.
inline Elements random_timeline(Random& random, uint8_t type, size_t n, unsigned most_apart) {
    std::vector<Number> stamps;
    Number at = random.below(4);
    for (size_t i = 0; i < n; ++i, at += random.below(most_apart + 1)) stamps.push_back(at);
    if (random.chance(20)) stamps.back() = wrapped(type, -1);
    if (random.chance(20)) stamps[random.below(unsigned(n))] = random_number(random, type);
    return elements_of(type, stamps);
}

/// A member against the literal steps; steps(filler) makes a fresh statement.
inline void check_alignment(const Alignment& alignment, bool endless,
                            const std::function<Steps(const std::string& filler)>& steps) {
    Member member;
    member.name = alignment.name;
    member.type = alignment.type;
    member.width = width_of(alignment.type);
    member.next = alignment.next;
    member.reset = alignment.reset;
    member.endless = endless;
    const auto draw = [&](Random& random, unsigned seed, Member& m) {
        const std::string filler = bytes_of(alignment.type, random_number(random, alignment.type));
        m.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) {
            return alignment.construct(it, o, filler);
        };
        const auto set = [&](const Elements& ts1, const Elements& ts2, const Elements& values) {
            m.operands = {operand(ts1), operand(ts2), operand(values)};
            return steps(filler);
        };
        if (seed == 0)  // The last timestamp of ts1 is the largest, so that stretch0 ends with both.
            return set(elements_of(alignment.ts, {7, 8, 9, 12}), elements_of(alignment.ts, {1, 3, 8, 10}),
                       elements_of(alignment.type, {11, 22, 33, 44}));
        const size_t n1 = random.between(1, 2500), n2 = random.chance(30) ? 5 : random.between(1, 2500);
        const bool long_runs = random.chance(50);
        Elements values = random_elements(random, alignment.type, long_runs ? n2 : n2 + random.below(700));
        if (!long_runs)
            for (auto& item : values.items) item.run = random.chance(95) ? 1 : 3;
        const Number late = wrapped(alignment.ts, -1) / (1 + random.below(2));
        return set(endless && random.chance(50) ? elements_of(alignment.ts, {late})
                                                : random_timeline(random, alignment.ts, n1, 3),
                   random_timeline(random, alignment.ts, n2, random.between(1, 20)), values);
    };
    check_random(member, 16, draw, endless ? 12 : 10000);
}

/// Four elements of each operand, with one run that is not 1: the fatal stop, at the latest in the second call.
inline bool stops_on_run(const Alignment& alignment, size_t which, size_t element) {
    Elements ts[] = {elements_of(alignment.ts, {5, 6, 7, 8}), elements_of(alignment.ts, {1, 2, 6, 7})};
    ts[which].items[element].run = 2;
    const auto ts1 = source_of(ts[0]), ts2 = source_of(ts[1]), values = source_of(elements_of<t_int4>({{1, 255}}));
    Record it;
    EXPECT_EQ(alignment.construct(it.get(), {ts1->get(), ts2->get(), values->get()}, std::string(4, '\0')), QVO_S_OK);
    return catch_stop([&] { it->next(it.get()); }).stopped;
}

}  // namespace test

/// A member by the types of its timestamps and values: with and without a filler.
#define FILLED(stem, ts, type)                                                                                                   \
    Alignment {                                                                                                                  \
#stem "_" #ts "_" #type, t_##ts::code, t_##type::code,                                                                         \
            [](qvo_seq_iterator_h it, const Member::Operands& o, const std::string& bytes) {             \
                qvo_##type filler;                                                                       \
                std::memcpy(&filler, bytes.data(), sizeof filler);                                       \
                return stem##_##ts##_##type(it, o[0], o[1], o[2], filler);                               \
            },                                                                                           \
            stem##_##ts##_##type##_next, stem##_##ts##_##type##_reset \
    }
#define UNFILLED(stem, ts, type)                                                                                     \
    Alignment {                                                                                                      \
#stem "_" #ts "_" #type, t_##ts::code, t_##type::code,                                                       \
            [](qvo_seq_iterator_h it, const Member::Operands& o,                                                     \
               const std::string&) { return stem##_##ts##_##type(it, o[0], o[1], o[2]); },                           \
                                                                                        stem##_##ts##_##type##_next, \
                                                                                        stem##_##ts##_##type##_reset \
    }
