#include "support/protocol.h"

#include <algorithm>

#include "support/number.h"

namespace test {
namespace {

bool flag(const std::vector<bool>& flags, size_t i) { return flags.empty() || flags[i]; }

bool same_bytes(const qvo_seq_iterator_t& a, const qvo_seq_iterator_t& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

/// A member and its operands, constructed.
struct Bench {
    std::vector<std::unique_ptr<Source>> sources;
    Member::Operands handles;
    Record result;

    explicit Bench(const Member& member, const std::vector<Script>& scripts = {}) {
        for (size_t i = 0; i < member.operands.size(); ++i) {
            sources.push_back(member.operands[i](i < scripts.size() ? scripts[i] : Script{}));
            handles.push_back(sources.back()->get());
        }
    }
    ~Bench() { qvo_seq_free_buffer(result.get()); }
    Bench(const Bench&) = delete;
};

/// All tiles of an iterator, as bytes, and the code of an error that ends them.
std::vector<std::string> tiles_of(const Member& member, qvo_seq_iterator_h it, size_t most = SIZE_MAX) {
    std::vector<std::string> tiles;
    while (tiles.size() < most) {
        const QVO_RET rc = it->next(it);
        if (rc == QVO_S_CURSOR_END) break;
        if (rc != QVO_S_OK) return tiles.push_back("code " + std::to_string(rc)), tiles;
        const char* payload = it->tile.u.arr_char;
        const size_t n = it->tile_size;
        EXPECT_TRUE(qvo_seq_check_tile(it) == QVO_SEQ_TILE_OK || !member.checks_tiles);
        tiles.push_back(std::string(payload, n * it->elem_size) +
                        std::string(payload + sizeof(qvo_seq_payload_t) - n, n));
        it->tile_offs = 0;
    }
    return tiles;
}

void check_refusals(const Member& member) {
    for (size_t i = 0; i < member.operands.size(); ++i)
        for (const QVO_RET code : {QVO_E_ILLEGAL_TYPE, QVO_E_SEQ_BOUNDED}) {
            const bool wrong_type = code == QVO_E_ILLEGAL_TYPE;
            if (!flag(wrong_type ? member.type_checked : member.bound, i)) continue;
            Bench bench(member);
            for (qvo_seq_iterator_h o : bench.handles) o->bounded = wrong_type;  // the type comes first
            bench.handles[i]->bounded = 1;
            if (wrong_type) bench.handles[i]->elem_type = 99;
            {
                const BindingCheck check;
                const qvo_seq_iterator_t before = bench.result.it;
                EXPECT_EQ(member.construct(bench.result.get(), bench.handles), code) << "operand " << i;
                EXPECT_TRUE(same_bytes(before, bench.result.it)) << "a refused constructor leaves the result alone";
                for (size_t k = 0; k < bench.handles.size(); ++k)
                    EXPECT_EQ(bench.handles[k]->bounded, wrong_type || k == i) << "a refused constructor binds nothing";
            }
            if (wrong_type) continue;
            EXPECT_EQ(member.construct(bench.result.get(), bench.handles), QVO_S_OK) << "with the check off";
        }
}

void check_fields(const Member& member) {
    Bench bench(member);
    const qvo_seq_iterator_t before = bench.result.it;
    const qvo_seq_iterator_t& it = bench.result.it;
    ASSERT_EQ(member.construct(bench.result.get(), bench.handles), QVO_S_OK);
    for (size_t i = 0; i < bench.handles.size(); ++i) {
        EXPECT_EQ(it.opd[i], bench.handles[i]);
        EXPECT_EQ(bench.handles[i]->bounded, flag(member.bound, i));
        EXPECT_EQ(bench.sources[i]->n_next(), 0U) << "constructors do not pull";
    }
    for (size_t i = bench.handles.size(); i < 3; ++i) EXPECT_EQ(it.opd[i], nullptr) << "unused slots stay";
    EXPECT_EQ(it.elem_type, member.type);
    EXPECT_EQ(it.elem_size, member.width);
    EXPECT_TRUE(it.bounded == 0 && it.tile_size == 0 && it.tile_offs == 0 && it.rle_offs == 0);
    EXPECT_TRUE(it.first_seq_no == 0 && it.next_seq_no == 0);
    EXPECT_EQ(it.prepared, member.aggregate ? 0 : before.prepared);
    EXPECT_EQ(it.createdBySql, before.createdBySql);
    EXPECT_EQ(it.next, member.next);
    EXPECT_EQ(it.reset, member.reset);
    EXPECT_EQ(it.prepare, member.prepare);
    EXPECT_EQ(it.merge, member.merge);
}

void check_end_and_reset(const Member& member) {
    Bench bench(member);
    ASSERT_EQ(member.construct(bench.result.get(), bench.handles), QVO_S_OK);
    const qvo_seq_iterator_h it = bench.result.get();
    const size_t most = member.endless ? 3 : SIZE_MAX;
    for (qvo_seq_iterator_h operand : bench.handles) operand->tile_offs = UINT16_MAX;
    const auto tiles = tiles_of(member, it, most);
    EXPECT_FALSE(tiles.empty());
    for (const auto& source : bench.sources)
        EXPECT_EQ(source->n_next() == 0, source->get()->tile_offs == UINT16_MAX) << "who pulls sets tile_offs back";
    const std::string tile(it->tile.u.arr_char, sizeof it->tile.u);
    const uint16_t tile_size = it->tile_size;
    EXPECT_EQ(it->next(it), member.endless ? QVO_S_OK : QVO_S_CURSOR_END) << "the end must last";
    EXPECT_EQ(tile, std::string(it->tile.u.arr_char, sizeof it->tile.u)) << "the end must not touch the tile";
    EXPECT_EQ(it->tile_size, tile_size);

    ASSERT_EQ(it->reset(it), QVO_S_OK);
    for (const auto& source : bench.sources) EXPECT_GE(source->n_reset(), 1U);
    EXPECT_TRUE(it->tile_size == 0 && it->tile_offs == 0 && it->rle_offs == 0 && it->next_seq_no == 0);
    EXPECT_EQ(tiles_of(member, it, 1).size(), 1U);
    ASSERT_EQ(it->reset(it), QVO_S_OK);
    EXPECT_EQ(tiles_of(member, it, most), tiles) << "after a reset in mid-stream";
    for (size_t i = 0; i < bench.sources.size(); ++i) {
        ASSERT_EQ(it->reset(it), QVO_S_OK);
        bench.sources[i]->set_script({{}, SIZE_MAX, QVO_S_OK, 4712});
        EXPECT_EQ(it->reset(it), 4712) << "the reset of operand " << i << " fails";
        bench.sources[i]->set_script({});
    }
}

/// The code that ends an iterator's tiles: the operand that fails need not be the first to be pulled.
QVO_RET pull_to_stop(qvo_seq_iterator_h it) {
    QVO_RET rc = QVO_S_OK;
    for (unsigned call = 0; rc == QVO_S_OK && call < 100; ++call) rc = it->next(it);
    return rc;
}

void check_stops(const Member& member) {
    for (size_t i = 0; i < member.operands.size(); ++i) {
        std::vector<Script> scripts(member.operands.size());
        scripts[i] = {{}, 0, 4711, QVO_S_OK};
        Bench failing(member, scripts);
        ASSERT_EQ(member.construct(failing.result.get(), failing.handles), QVO_S_OK);
        if (member.passes_errors)
            EXPECT_EQ(pull_to_stop(failing.result.get()), 4711) << "the error of operand " << i;
        else
            EXPECT_EQ(failing.result->next(failing.result.get()), QVO_S_OK) << "the error of operand " << i;
        if (member.passes_errors && member.prepare == qvo_seq_prepare_aggregate) {
            EXPECT_EQ(qvo_seq_prepare_aggregate(failing.result.get()), 4711);
            EXPECT_EQ(failing.result->next(failing.result.get()), QVO_S_CURSOR_END) << "nothing was prepared";
        }

        for (const bool overfull : {false, true}) {
            if (!overfull && !flag(member.stops_on_empty, i)) continue;
            const bool tracing = overfull == (i % 2 == 0);
            scripts[i] = overfull ? Script{{}, SIZE_MAX, QVO_S_OK, QVO_S_OK, true} : Script{{}, 0, QVO_S_OK, QVO_S_OK};
            Bench broken(member, scripts);
            ASSERT_EQ(member.construct(broken.result.get(), broken.handles), QVO_S_OK);
            const Stop stop = catch_stop([&] { pull_to_stop(broken.result.get()); }, tracing);
            EXPECT_TRUE(stop.stopped) << (overfull ? "an overfull" : "an empty") << " tile of operand " << i;
            EXPECT_EQ(stop.code, QVO_ERR_SEQ);
            EXPECT_GT(stop.line, 0);
            EXPECT_NE(stop.file.find(member.source), std::string::npos) << stop.file;
            EXPECT_EQ(stop.traces, tracing);
        }
    }
}

}  // namespace

template <class T> MakeSource operand(Items<T> items, size_t width) {
    return [=](Script script) { return std::make_unique<Source>(T{}, items, std::move(script), width); };
}

#define INSTANTIATE(type) template MakeSource operand<t_##type>(Items<t_##type>, size_t);
QVO_SEQ_FOR_FIXED_TYPES(INSTANTIATE)
INSTANTIATE(char)

std::string AnyType::value(Random& random) const {
    if (code != QVO_DD_CHAR) return bytes_of(code, random_number(random, code));
    std::string bytes;
    while (bytes.size() < width) bytes += static_cast<char>(random.below(256));
    return bytes;
}

Items<t_char> AnyType::items(Random& random, size_t n) const {
    return random_items<t_char>(random, n, [this](Random& r) { return value(r); });
}

MakeSource AnyType::operand(const Items<t_char>& items) const { return test::operand(Elements{code, width, items}); }

std::vector<AnyType> all_types() {
#define TYPE(type) any_type<t_##type>(),
    return {QVO_SEQ_FOR_FIXED_TYPES(TYPE) TYPE(char)};
}

Member unary_member(std::string name, const std::function<std::remove_pointer_t<ConstructUnary>>& construct,
                    qvo_seq_iterator_next_t next, uint8_t type, size_t width, qvo_seq_iterator_reset_t reset) {
    Member member;
    member.name = std::move(name);
    member.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) { return construct(it, o[0]); };
    member.type = type;
    member.width = width;
    member.next = next;
    member.reset = reset;
    return member;
}

Member binary_member(std::string name, const std::function<std::remove_pointer_t<ConstructBinary>>& construct,
                     qvo_seq_iterator_next_t next, uint8_t type, size_t width, qvo_seq_iterator_reset_t reset) {
    Member member = unary_member(std::move(name), nullptr, next, type, width, reset);
    member.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) { return construct(it, o[0], o[1]); };
    return member;
}

Member ternary_member(std::string name, ConstructTernary construct, qvo_seq_iterator_next_t next, uint8_t type,
                      size_t width, qvo_seq_iterator_reset_t reset) {
    Member member = unary_member(std::move(name), nullptr, next, type, width, reset);
    member.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) {
        return construct(it, o[0], o[1], o[2]);
    };
    return member;
}

void check_protocol(const Member& member) {
    SCOPED_TRACE(member.name);
    if (!member.own_refusals) check_refusals(member);
    check_fields(member);
    check_end_and_reset(member);
    check_stops(member);
}

void expect_same_record(const qvo_seq_iterator_t& actual, const qvo_seq_iterator_t& expected, const std::string& what) {
    const auto fields = [](const qvo_seq_iterator_t& it) {
        return std::vector<uint64_t>{it.tile_size,   it.tile_offs,   it.rle_offs,  it.prepared, it.first_seq_no,
                                     it.next_seq_no, it.last_seq_no, it.elem_type, it.elem_size};
    };
    EXPECT_EQ(fields(actual), fields(expected))
        << what << ": tile_size, tile_offs, rle_offs, prepared, first_seq_no, next_seq_no, last_seq_no, type, width";
    if (std::memcmp(&actual.tile, &expected.tile, sizeof actual.tile) == 0) return;
    // NaN results may differ in their bits: compare floating elements by value, and everything else exactly.
    const size_t n = actual.tile_size;
    if (actual.elem_type == QVO_DD_DOUBLE)
        check_items(tile_items<t_double>(actual), tile_items<t_double>(expected));
    else if (actual.elem_type == QVO_DD_FLOAT)
        check_items(tile_items<t_float>(actual), tile_items<t_float>(expected));
    else {
        size_t i = 0;
        while (actual.tile.u.arr_uint1[i] == expected.tile.u.arr_uint1[i] && i + 1 < sizeof(qvo_seq_payload_t)) ++i;
        ADD_FAILURE() << what << ": the tiles differ at byte " << i << " of the payload; " << n << " elements";
    }
}

void check_steps(const Member& member, const Steps& literal, const std::vector<Script>& scripts,
                 const std::function<void(const Member::Operands&)>& before, unsigned most_calls) {
    SCOPED_TRACE(member.name);
    Bench actual(member, scripts), expected(member, scripts);
    ASSERT_EQ(member.construct(actual.result.get(), actual.handles), QVO_S_OK);
    expected.result.it = actual.result.it;
    expected.result->owned_buf = 0;  // a buffer is released once
    for (size_t i = 0; i < expected.handles.size(); ++i) expected.result->opd[i] = expected.handles[i];
    for (const Bench* bench : {&actual, &expected})
        if (const auto& read = before ? before : member.before; read) read(bench->handles);
    for (unsigned call = 0, ends = 0; ends < 2 && call < most_calls; ++call) {
        const std::string what = member.name + ", call " + std::to_string(call);
        const QVO_RET rc = actual.result->next(actual.result.get());
        ASSERT_EQ(rc, literal(expected.result.get())) << what;
        if (rc == QVO_S_OK && member.checks_tiles) {
            EXPECT_EQ(qvo_seq_check_tile(actual.result.get()), QVO_SEQ_TILE_OK) << what;
        }
        expect_same_record(actual.result.it, expected.result.it, what);
        for (size_t i = 0; i < actual.handles.size(); ++i) {
            const std::string operand_text = what + ", operand " + std::to_string(i);
            EXPECT_EQ(actual.handles[i]->tile_offs, expected.handles[i]->tile_offs) << operand_text;
            EXPECT_EQ(actual.handles[i]->rle_offs, expected.handles[i]->rle_offs) << operand_text;
            EXPECT_EQ(actual.sources[i]->n_next(), expected.sources[i]->n_next()) << operand_text;
        }
        if (testing::Test::HasFailure()) return;
        ends += rc != QVO_S_OK;
    }
}

/// After a reset at the end, and one in mid-stream, an iterator delivers once more what it has delivered.
void check_again(const Member& member, const std::vector<Script>& scripts, unsigned most_calls) {
    Bench bench(member, scripts);
    ASSERT_EQ(member.construct(bench.result.get(), bench.handles), QVO_S_OK);
    const auto tiles = tiles_of(member, bench.result.get(), most_calls);
    for (const size_t most : {size_t{1}, size_t{most_calls}}) {
        ASSERT_EQ(bench.result->reset(bench.result.get()), QVO_S_OK);
        const auto again = tiles_of(member, bench.result.get(), most);
        EXPECT_TRUE(std::equal(again.begin(), again.end(), tiles.begin(), tiles.begin() + std::min(most, tiles.size())))
            << "after a reset";
    }
}

void check_random(Member member, unsigned seeds, const std::function<Steps(Random&, unsigned seed, Member&)>& draw,
                  unsigned most_calls) {
    SCOPED_TRACE(member.name);
    for (unsigned seed = 0; seed < seeds && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const Steps literal = draw(random, seed, member);
        if (seed == 0) check_protocol(member);
        std::vector<Script> scripts;
        for (size_t i = 0; i < member.operands.size(); ++i) scripts.push_back({random_tile_sizes(random)});
        if (seed % 3 == 2 && !scripts.empty()) {
            Script& script = scripts[seed / 3 % scripts.size()];
            script.stop_at = random.below(random.chance(50) ? 50 : 1000);
            script.stop_code = 4711;
        }
        check_steps(member, literal, scripts, nullptr, most_calls);
        if (member.checks_tiles && member.writes_runs) check_again(member, scripts, most_calls);
    }
}

void check_overlaps(Member member, const std::vector<DrawOperand>& draw,
                    const std::function<void(qvo_seq_iterator_h it, size_t i)>& element, unsigned seeds) {
    check_random(std::move(member), seeds, [&](Random& random, unsigned seed, Member& m) {
        const unsigned n = seed % 4 == 0 ? 5 : random.between(4, 3000);
        m.operands.clear();
        for (const DrawOperand& operand : draw)
            m.operands.push_back(
                operand(random, m.operands.empty() || random.chance(50) ? n : random.between(4, 3000)));
        return [&](qvo_seq_iterator_h it) {
            return literal_overlap_next(
                it, [&](size_t i) { return element(it, i), true; }, draw.size());
        };
    });
}

void check_unary(Member member, const DrawOperand& draw_operand,
                 const std::function<void(qvo_seq_iterator_h it, size_t i, size_t k)>& element) {
    check_random(std::move(member), 6, [&](Random& random, unsigned seed, Member& m) {
        m.operands = {draw_operand(random, seed % 3 == 0 ? 5 : random.between(4, 3000))};
        // A read position inside a run is neither consulted nor changed.
        m.before = [=](const Member::Operands& o) { o[0]->rle_offs = static_cast<uint8_t>(seed % 2); };
        return [&](qvo_seq_iterator_h it) {
            return literal_elements_next(it, [&](size_t i, size_t k) { element(it, i, k); });
        };
    });
}

}  // namespace test
