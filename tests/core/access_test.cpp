// The readers: every type against readers that go position by position, and element by element.
#include "support/protocol.h"

namespace test {
namespace {

using Bytes = std::vector<uint8_t>;

/// The readers of one type, over untyped arrays.
struct Readers {
    AnyType type;
    QVO_RET (*next)(qvo_seq_iterator_h, void*);
    QVO_RET (*get)(qvo_seq_iterator_h, void*, qvo_size_t*);
    QVO_RET (*get_nullable)(qvo_seq_iterator_h, void*, qvo_size_t*, qvo_bitmap_word_t*);
};

#define READERS(type, value)                                                                                          \
    {any_type<t_##type>(),                                                                                            \
     [](qvo_seq_iterator_h it, void* v) { return qvo_seq_next_##type(it, static_cast<value*>(v)); },                  \
     [](qvo_seq_iterator_h it, void* v, qvo_size_t* n) { return qvo_seq_get_##type(it, static_cast<value*>(v), n); }, \
     [](qvo_seq_iterator_h it, void* v, qvo_size_t* n, qvo_bitmap_word_t* nulls) {                                    \
         return qvo_seq_get_nullable_##type(it, static_cast<value*>(v), n, nulls);                                    \
     }},
std::vector<Readers> all_readers() {
#define FIXED(type) READERS(type, qvo_##type)
    return {QVO_SEQ_FOR_FIXED_TYPES(FIXED) READERS(char, char)};
}

std::unique_ptr<Source> source_of(const AnyType& type, Random random, size_t n, const Script& script) {
    const AnyType any = type.code == QVO_DD_CHAR ? any_type<t_char>(random.between(1, 12)) : type;
    Items<t_char> items = any.items(random, n);
    for (auto& item : items)
        if (random.chance(1)) item.run = 256;  // an unwritten run byte, 0
    return any.operand(items)(script);
}

/// Who reads a source, and what came of the last call.
struct Reading {
    const Readers& readers;
    std::unique_ptr<Source> source;
    QVO_RET rc = QVO_S_OK;
    qvo_size_t count = 0;
    Bytes values{};
    std::vector<qvo_bitmap_word_t> nulls{};

    QVO_RET call(unsigned which, qvo_size_t wanted) {
        count = wanted;
        values.assign((wanted + 1) * 16, 0x5a);
        nulls.assign(wanted / 64 + 2, 0x5a5a);
        const qvo_seq_iterator_h it = source->get();
        return rc = which == 0   ? readers.next(it, values.data())
                    : which == 1 ? readers.get(it, values.data(), &count)
                                 : readers.get_nullable(it, values.data(), &count, nulls.data());
    }
    std::vector<uint64_t> outcome() const {
        const qvo_seq_iterator_t& it = *source->get();
        return {static_cast<uint64_t>(rc), count, it.tile_offs, it.rle_offs, source->n_next()};
    }
};

/// One position, or one element, step by step.
QVO_RET literal_step(qvo_seq_iterator_h it, void* value, bool whole_element) {
    if (it->tile_offs >= it->tile_size) {
        if (const QVO_RET rc = it->next(it); rc != QVO_S_OK) return rc;
        it->tile_offs = 0;
    }
    std::memcpy(value, it->tile.u.arr_uint1 + size_t{it->tile_offs} * it->elem_size, it->elem_size);
    if (whole_element)
        ++it->tile_offs;
    else
        literal_take(it, 1);
    return QVO_S_OK;
}

bool null_bit(const qvo_bitmap_word_t* words, size_t i) { return (words[i / 64] >> (i % 64) & 1) != 0; }

/// The readers as so many single steps.
QVO_RET literal_next(qvo_seq_iterator_h it, void* value) { return literal_step(it, value, false); }

QVO_RET literal_get(qvo_seq_iterator_h it, void* values, qvo_size_t* count) {
    for (size_t i = 0; i < *count; ++i) {
        const QVO_RET rc = literal_step(it, static_cast<uint8_t*>(values) + i * it->elem_size, false);
        if (rc == QVO_S_OK) continue;
        if (rc != QVO_S_CURSOR_END || i == 0) return rc;
        *count = i;
    }
    return QVO_S_OK;
}

QVO_RET literal_get_nullable(qvo_seq_iterator_h it, void* values, qvo_size_t* count, qvo_bitmap_word_t* nulls) {
    std::memset(nulls, 0, (*count + 63) / 64 * 8);
    QVO_RET rc = QVO_S_OK;
    size_t i = 0;
    for (; i < *count; ++i) {
        if (rc = literal_step(it, static_cast<uint8_t*>(values) + i * it->elem_size, true); rc != QVO_S_OK) break;
        const unsigned element = it->tile_offs - 1U;
        if (element < 128 && null_bit(it->tile.null_bitmap, element)) nulls[i / 64] |= qvo_bitmap_word_t{1} << (i % 64);
    }
    *count = i;
    return rc == QVO_S_CURSOR_END && i != 0 ? QVO_S_OK : rc;
}

/// Reads random amounts until the end, one reader or a mix of them, and compares after every call.
void check_readers(const Readers& readers, Random& random, unsigned seed) {
    SCOPED_TRACE(readers.type.name);
    static const Readers literal{{}, literal_next, literal_get, literal_get_nullable};
    const size_t n = random.between(1, 2500);
    const Script script = random_script(random, seed);
    Reading actual{readers, source_of(readers.type, Random(seed), n, script)};
    Reading expected{literal, source_of(readers.type, Random(seed), n, script)};
    for (size_t i = 0; i < 2; ++i)
        (*actual.source)->tile.null_bitmap[i] = (*expected.source)->tile.null_bitmap[i] =
            random.value<uint64_t>() * 0x9e3779b97f4a7c15U;
    const unsigned most = random.chance(50) ? 3000 : 40;
    for (unsigned call = 0, ends = 0; ends < 2; ++call) {
        const size_t wanted = random.below(most);
        const unsigned which = random.below(seed % 2 == 0 ? 2 : 3);
        ends += actual.call(which, wanted) != QVO_S_OK;
        expected.call(which, wanted);
        ASSERT_EQ(actual.outcome(), expected.outcome()) << "code, count, offsets, pulled; in call " << call;
        ASSERT_TRUE(actual.values == expected.values) << "call " << call << ", values or what lies after them";
        ASSERT_TRUE(actual.nulls == expected.nulls) << "call " << call;
    }
}

TEST(Access, ReadsLikeSingleSteps) {
    for (const Readers& readers : all_readers())
        for_seeds(30, [&](Random& random, unsigned seed) { check_readers(readers, random, seed); });
}

TEST(Access, RefusesOtherTypesAndBoundIteratorsAndStopsOnEmptyTiles) {
    for (const Readers& readers : all_readers()) {
        SCOPED_TRACE(readers.type.name);
        for (unsigned which = 0; which < 3; ++which) {
            Reading reading{readers, source_of(readers.type, Random(1), 10, {})};
            const qvo_seq_iterator_h it = reading.source->get();
            const auto call = [&] { return reading.call(which, 2); };
            it->bounded = 1;
            {
                const BindingCheck check;
                EXPECT_EQ(call(), QVO_E_SEQ_BOUNDED);
                const uint8_t code = it->elem_type;
                it->elem_type = 99;  // the type comes first
                EXPECT_EQ(call(), QVO_E_ILLEGAL_TYPE);
                it->elem_type = code;
                it->bounded = 0;
                EXPECT_EQ(call(), QVO_S_OK);
                it->bounded = 1;
            }
            EXPECT_EQ(call(), QVO_S_OK) << "with the check off";
            ASSERT_EQ(it->reset(it), QVO_S_OK);
            reading.source->set_script({{}, 0, QVO_S_OK});
            EXPECT_TRUE(catch_stop(call).stopped);
        }
    }
}

TEST(Access, ATextSourceHasAWidthOnceThereIsATile) {
    for (unsigned which = 0; which < 3; ++which) {
        TextSource text("{abc,de}");
        char values[9] = {};
        qvo_size_t count = 3;
        qvo_bitmap_word_t nulls;
        EXPECT_EQ(which == 0   ? qvo_seq_next_char(text.get(), values)
                  : which == 1 ? qvo_seq_get_char(text.get(), values, &count)
                               : qvo_seq_get_nullable_char(text.get(), values, &count, &nulls),
                  QVO_S_OK);
        EXPECT_EQ(std::string(values), which == 0 ? "abc" : "abcde}");
        EXPECT_EQ(count, which == 0 ? 3U : 2U);
    }
}

TEST(Access, ArraysNeedNotBeAligned) {
    alignas(8) char from[17] = "", to[17] = "";
    for (unsigned i = 0; i < sizeof from; ++i) from[i] = static_cast<char>(i);
    Record it;
    ASSERT_EQ(qvo_seq_unget_char(it.get(), from + 1, 2, 8), QVO_S_OK);
    qvo_size_t count = 2;
    EXPECT_EQ(qvo_seq_get_char(it.get(), to + 1, &count), QVO_S_OK);
    EXPECT_EQ(std::memcmp(from + 1, to + 1, 16), 0);
    ASSERT_EQ(qvo_seq_const_char(it.get(), nullptr, 0), QVO_S_OK);
    EXPECT_EQ(it->next(it.get()), QVO_S_OK);
    ASSERT_EQ(qvo_seq_unget_int4(it.get(), nullptr, 0), QVO_S_OK);
    count = 0;
    EXPECT_EQ(qvo_seq_get_nullable_int4(it.get(), nullptr, &count, nullptr), QVO_S_OK);
}

TEST(Access, TheNullableReaderDeliversARunOnceAndElementsBeforeAnError_deliberate) {
    Source source(t_double{}, {{1.5, 5}, {2.5, 255}, {3.5, 1}}, {{}, 2, 4711});
    source->tile.null_bitmap[0] = 2;
    double values[3];
    qvo_size_t count = 3;
    qvo_bitmap_word_t nulls = ~qvo_bitmap_word_t{0};
    EXPECT_EQ(qvo_seq_get_nullable_double(source.get(), values, &count, &nulls), 4711);
    EXPECT_TRUE(count == 2 && values[0] == 1.5 && values[1] == 2.5 && nulls == 2);
}

}  // namespace
}  // namespace test
