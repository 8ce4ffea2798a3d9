// Stored sequences: what goes in comes out, in the smallest encoding, and bytes that are damaged are found out.
#include <gtest/gtest.h>

#include "stored_values.h"

namespace test {
namespace {

using namespace qvo::value;

std::string sentence_of(const Bytes& value) { return fault_of({value.data(), value.size()}); }
Bytes copy_of(const Buffer& buffer) { return {buffer.data(), buffer.data() + buffer.size()}; }

void expect_stored(const Buffer& buffer, ValueType type, const Bytes& values) {
    const Stored stored(buffer.bytes());
    EXPECT_EQ(stored.type(), type);
    ASSERT_EQ(stored.positions(), values.size() / type.width);
    ASSERT_TRUE(read_all(stored, 455) == values);
    if (values.size() < 10000) { ASSERT_TRUE(read_all(stored, 7) == values); }
    EXPECT_EQ(fault_of(buffer.bytes()), "");
    EXPECT_LE(static_cast<double>(buffer.size()), 1.01 * static_cast<double>(values.size()) + 256);
}

TEST(Stored, GivesBackWhatItTook) {
    Engine random(1);
    for (const ValueType type : all_types())
        for (const Content& content : contents) {
            // A full tile has 32 KB of values.
            const size_t full = 32768 / type.width;
            for (const size_t n : {size_t{0}, size_t{1}, size_t{40}, full - 1, full, 2 * full + 1}) {
                SCOPED_TRACE(name_of(type) + ", " + content.name + ", " + std::to_string(n));
                const Bytes values = make(type, content, n, static_cast<unsigned>(n));
                for (const Runs runs : {Runs::none, Runs::joined, Runs::cut}) {
                    Writer writer(type, {n % 2 != 0});
                    put(writer, values, type.width, runs, random);
                    EXPECT_EQ(writer.positions(), n);
                    expect_stored(writer.finish(), type, values);
                }
                if (HasFatalFailure()) return;
            }
        }
}

TEST(Stored, TakesTheSmallestEncoding) {
    struct Case {
        const char* content;
        Type type;
        Encoding encoding;
        double bytes_a_value;
    };
    using enum Encoding;
    for (const Case& c : {Case{"any bits", Type::double_, plain, 8.02},
                          Case{"the same", Type::float_, constant, 0.01},
                          Case{"regular", Type::timestamp, progression, 0.01},
                          Case{"regular", Type::double_, progression, 0.01},
                          Case{"small", Type::int8, narrow, 1.03},
                          Case{"two values", Type::boolean, constant, 0.01},
                          Case{"small", Type::boolean, narrow, 0.14},
                          Case{"runs of 5", Type::int1, runs, 0.42},
                          Case{"runs of 300", Type::char_, dictionary, 0.02},
                          Case{"ascending", Type::timestamp, delta, 0.54},
                          Case{"whole thousands", Type::timestamp, delta, 0.54},
                          Case{"prices", Type::double_, decimal, 2.04},
                          Case{"prices", Type::float_, decimal, 2.03},
                          Case{"gaps", Type::double_, decimal, 1.04},
                          Case{"thousands", Type::int4, narrow, 1.54},
                          Case{"thousands", Type::double_, decimal, 1.54},
                          Case{"millions", Type::uint8, narrow, 3.04},
                          Case{"millions", Type::double_, decimal, 3.04},
                          Case{"two values", Type::double_, dictionary, 0.15},
                          Case{"small", Type::char_, dictionary, 1.2},
                          Case{"limits", Type::float_, dictionary, 0.15}}) {
        SCOPED_TRACE(std::string(c.content) + " as " + std::string(name_of(c.type)));
        const ValueType type = c.type == Type::char_ ? char_of(5) : type_of(c.type);
        const auto content = std::find_if(std::begin(contents), std::end(contents), [&](const Content& some) {
            return std::string_view(some.name) == c.content;
        });
        const size_t n = 20000;
        const Buffer buffer = store(type, make(type, *content, n, 3));
        EXPECT_EQ(name_of(Stored(buffer.bytes()).tile(0).encoding), name_of(c.encoding));
        EXPECT_LE(static_cast<double>(buffer.size()) / n, c.bytes_a_value);
    }
}

TEST(Stored, JoinsRegularTilesIntoOne) {
    Writer stamps(type_of(Type::timestamp)), same(type_of(Type::double_));
    for (int64_t chunk = 0; chunk < 1000; ++chunk) {
        std::vector<int64_t> values(1000);
        for (size_t i = 0; i < values.size(); ++i)
            values[i] = -1'000'000'000 + 60'000'000 * (1000 * chunk + static_cast<int64_t>(i));
        stamps.put_single(values.data(), values.size());
        const double value = NAN;
        same.put_repeated(&value, 1'000'000'000'000);
    }
    EXPECT_LT(stamps.finish().size(), 200U);
    const Buffer buffer = same.finish();
    EXPECT_LT(buffer.size(), 200U);
    const TileEntry tile = Stored(buffer.bytes()).tile(0);
    EXPECT_EQ(tile.positions, 1'000'000'000'000'000U);
    EXPECT_EQ(tile.missing, tile.positions);
    EXPECT_EQ(fault_of(buffer.bytes()), "");
}

TEST(Stored, KnowsExtremesAndMissingValues) {
    for (const Type type : {Type::int2, Type::uint8, Type::timestamp, Type::float_, Type::double_})
        for (const Content& content : contents) {
            SCOPED_TRACE(std::string(name_of(type)) + ", " + content.name);
            const Bytes values = make(type_of(type), content, 1000, 5);
            with_fixed(type, [&](auto tag) {
                using V = typename decltype(tag)::value;
                const auto* const all = reinterpret_cast<const V*>(values.data());
                std::vector<V> present;
                for (size_t i = 0; i < 1000; ++i)
                    if (all[i] == all[i]) present.push_back(all[i]);
                const Buffer buffer = store(type_of(type), values);
                const TileEntry tile = Stored(buffer.bytes()).tile(0);
                ASSERT_EQ(tile.positions, 1000U);
                EXPECT_EQ(tile.missing, 1000 - present.size());
                EXPECT_EQ(tile.smallest.as<V>(), *std::min_element(present.begin(), present.end()));
                EXPECT_EQ(tile.largest.as<V>(), *std::max_element(present.begin(), present.end()));
            });
        }
}

// Positions are found and passed over in whatever tile they lie; what comes then is what stands there.
TEST(Stored, ReadsFromAnyPosition) {
    Engine random(2);
    for (const ValueType type : {type_of(Type::boolean), type_of(Type::int4), type_of(Type::double_), char_of(5)})
        for (const Content& content : contents) {
            SCOPED_TRACE(name_of(type) + ", " + content.name);
            const size_t width = type.width;
            const Bytes values = make(type, content, 100000 / width, 7);
            const Buffer buffer = store(type, values);
            const Stored stored(buffer.bytes());
            TileReader reader(stored);
            for (int k = 0; k < 20; ++k) {
                const uint64_t position = random() % stored.positions();
                const auto place = stored.find(position);
                reader.open(place.tile);
                const uint64_t ahead = position - place.first_position, half = ahead / 2;
                reader.skip(half);
                reader.skip(ahead - half);
                const uint64_t left = reader.positions_left();
                ASSERT_EQ(left, stored.tile(place.tile).positions - ahead);
                Bytes found;
                read_tile(reader, width, 3, 9, found);
                ASSERT_TRUE(std::equal(found.begin(), found.end(), &values[position * width])) << position;
                ASSERT_EQ(reader.positions_left(), left - found.size() / width);
            }
        }
}

TEST(Stored, Appends) {
    Engine random(3);
    for (const ValueType type : {type_of(Type::boolean), type_of(Type::timestamp), type_of(Type::double_), char_of(40)})
        for (const Content& content : contents)
            for (const bool compress : {false, true}) {
                SCOPED_TRACE(name_of(type) + ", " + content.name);
                const Bytes values = make(type, content, 9000, 9);
                // Piece by piece, of any length, and all pieces through one writer.
                Buffer grown = store(type, {}, {compress});
                Writer writer(type);
                for (size_t at = 0; at < values.size();) {
                    const size_t n = std::min<size_t>(values.size() - at, random() % 3000 * type.width);
                    const Buffer piece = store(type, {&values[at], &values[at] + n}, {compress});
                    grown = append(Stored(grown.bytes()), Stored(piece.bytes()));
                    writer.put_stored(Stored(piece.bytes()));
                    at += n;
                }
                expect_stored(grown, type, values);
                expect_stored(writer.finish(), type, values);
            }
    const Buffer number = store(type_of(Type::int4), {1, 0, 0, 0}), text = store(char_of(4), {'a', 0, 0, 0});
    EXPECT_THROW(append(Stored(number.bytes()), Stored(text.bytes())), Error);
}

// Values, runs, progressions and stored sequences, one after the other in any order and of any length.
TEST(Stored, TakesAnyMixture) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        Engine random(seed);
        const ValueType type = type_of(seed % 2 != 0 ? Type::timestamp : Type::int4);
        Writer writer(type, {seed % 5 == 0});
        Bytes all;
        int64_t next = 0;
        for (int k = 0; k < 40; ++k) {
            const size_t n = random() % (random() % 3 != 0 ? 50 : 20000);
            const int64_t step = static_cast<int64_t>(random() % 3);
            Bytes values;
            const auto add = [&](int64_t value) {
                values.insert(values.end(), reinterpret_cast<uint8_t*>(&value),
                              reinterpret_cast<uint8_t*>(&value) + type.width);
            };
            switch (random() % 5) {
                case 0:
                    for (size_t i = 0; i < n; ++i) add(next);
                    writer.put_repeated(&next, n);
                    break;
                case 1:
                    for (size_t i = 0; i < n; ++i) add(next + step * static_cast<int64_t>(i));
                    writer.put_progression(next, step, n);
                    next += step * static_cast<int64_t>(n);
                    break;
                case 2:
                    values = make(type, contents[random() % std::size(contents)], n, seed);
                    put(writer, values, type.width, Runs::joined, random);
                    break;
                case 3:
                    values = make(type, contents[random() % std::size(contents)], n, seed);
                    writer.put_stored(Stored(store(type, values, {k % 2 == 0}).bytes()));
                    break;
                default:
                    add(++next);
                    writer.put_single(values.data(), 1);
            }
            all.insert(all.end(), values.begin(), values.end());
            ASSERT_EQ(writer.positions(), all.size() / type.width);
        }
        const Buffer buffer = writer.finish();
        EXPECT_EQ(fault_of(buffer.bytes()), "");
        ASSERT_TRUE(read_all(Stored(buffer.bytes()), 455) == all);
    }
}

// Appending one value at a time keeps tiles full.
TEST(Stored, AppendsSingleValues) {
    const Bytes values = make(type_of(Type::double_), contents[0], 9000, 1);
    Buffer grown = store(type_of(Type::double_), {});
    for (size_t i = 0; i < values.size(); i += 8)
        grown =
            append(Stored(grown.bytes()), Stored(store(type_of(Type::double_), {&values[i], &values[i] + 8}).bytes()));
    expect_stored(grown, type_of(Type::double_), values);
    EXPECT_LE(Stored(grown.bytes()).n_tiles(), 5U);
}

TEST(Stored, Compresses) {
    for (const ValueType type : {type_of(Type::double_), char_of(40)}) {
        const Bytes values = make(type, contents[6], 9000, 1);  // ascending
        const Buffer plain = store(type, values), packed = store(type, values, {true});
        Writer writer(type, {true}), back(type);
        writer.put_stored(Stored(plain.bytes()));
        const Buffer again = writer.finish();
        back.put_stored(Stored(packed.bytes()));
        EXPECT_LT(packed.size(), 2 * plain.size() / 3);
        EXPECT_EQ(copy_of(again), copy_of(packed));
        EXPECT_EQ(copy_of(back.finish()), copy_of(plain));
    }
}

/// Stored values of all encodings, small enough to try every byte of them.
std::vector<Bytes> samples() {
    std::vector<Bytes> all;
    for (const Content& content : contents)
        for (const ValueType type : {type_of(Type::double_), type_of(Type::int4), char_of(5)})
            if (all.size() % 2 == 0 || type.type != Type::int4)
                all.push_back(copy_of(store(type, make(type, content, 150, 1), {content.name[0] == 'p'})));
    Writer mixed(type_of(Type::int2));
    for (const int16_t value : std::initializer_list<int16_t>{1, 5, 5, -3}) mixed.put_repeated(&value, 70000);
    mixed.put_progression(0, 2, 10000);
    all.push_back(copy_of(mixed.finish()));
    all.push_back(copy_of(store(type_of(Type::boolean), make(type_of(Type::boolean), contents[1], 2000, 1))));
    return all;
}

TEST(Stored, FindsEveryFlippedBit) {
    for (const Bytes& sample : samples()) {
        ASSERT_EQ(sentence_of(sample), "");
        for (size_t at = 0; at < sample.size(); ++at)
            for (unsigned bit = 0; bit < 8; ++bit) {
                Bytes flipped = sample;
                flipped[at] ^= static_cast<uint8_t>(1 << bit);
                ASSERT_NE(sentence_of(flipped), "") << "byte " << at << " of " << sample.size();
            }
        for (size_t n = 0; n < sample.size(); ++n) ASSERT_NE(sentence_of({sample.begin(), sample.begin() + n}), "");
    }
}

/// Reads a value as far as it goes, at most so many positions of a tile; true if nothing was wrong.
bool reads(const Bytes& value) {
    try {
        const Stored stored({value.data(), value.size()});
        TileReader reader(stored);
        for (size_t i = 0; i < stored.n_tiles(); ++i) {
            Bytes read;
            reader.open(i);
            reader.skip(reader.positions_left() / 3);
            const uint64_t left = reader.positions_left();
            read_tile(reader, stored.type().width, 100, 20000, read);
            EXPECT_EQ(read.size() / stored.type().width, left - reader.positions_left());
            reader.skip(reader.positions_left());
        }
    } catch (const Error&) { return false; }
    return true;
}

// Behind right checksums, nonsense is an error or a value like others.
TEST(Stored, SurvivesNonsenseThatIsSealed) {
    Engine random(4);
    size_t sound = 0, unsound = 0;
    for (const Bytes& sample : samples())
        for (size_t at = 0; at < sample.size(); ++at) {
            Bytes changed = sample;
            changed[at] ^= static_cast<uint8_t>(1 + random() % 255);
            seal(changed);
            const bool valid = sentence_of(changed).empty(), read = reads(changed);
            ASSERT_TRUE(read || !valid) << "byte " << at << " of " << sample.size();
            ++(valid ? sound : unsound);
        }
    EXPECT_GT(sound, 100U);
    EXPECT_GT(unsound, 1000U);
}

TEST(Stored, SaysWhatIsWrong) {
    using format::Entry;
    using format::Header;
    struct Case {
        void (*change)(Header&, Entry&);
        const char* sentence;
    };
    const Bytes sample = copy_of(store(type_of(Type::int4), make(type_of(Type::int4), contents[1], 300, 1)));
    const size_t entry_at = sample.size() - sizeof(Entry);
    for (const Case& c : {Case{[](Header&h, Entry&) { h.magic[1] = 'q'; }, "not a stored sequence"},
                          Case{[](Header&h, Entry&) { h.version = 2; }, "version 2"},
                          Case{[](Header&h, Entry&) { h.type = 13; }, "unknown type 13"},
                          Case{[](Header&h, Entry&) { h.flags = 4; }, "unknown flags 4"},
                          Case{[](Header&h, Entry&) { h.width = 8; }, "width"},
                          Case{[](Header&h, Entry&) { ++h.size; }, "size"},
                          Case{[](Header&h, Entry&) { h.tiles = 1000; }, "number of tiles"},
                          Case{[](Header&h, Entry&) { h.tiles = 0; }, "directory"},
                          Case{[](Header&h, Entry&) { ++h.positions; }, "number of positions"},
                          Case{[](Header&h, Entry&) { --h.elements; }, "number of positions"},
                          Case{[](Header&, Entry&e) { e.encoding = 8; }, "unknown encoding 8"},
                          Case{[](Header&, Entry&e) { e.flags = 2; }, "unknown flags 2"},
                          Case{[](Header&, Entry&e) { e.flags = 1; }, "compression"},
                          Case{[](Header&, Entry&e) { e.offset -= 8; }, "place of a tile"},
                          Case{[](Header&, Entry&e) { e.size = UINT32_MAX; }, "place of a tile"},
                          Case{[](Header&, Entry&e) { --e.size; }, "size of a tile"},
                          Case{[](Header&, Entry&e) { e.run_width = 3; }, "run lengths"},
                          Case{[](Header&, Entry&e) { e.run_width = 1; }, "run lengths"},
                          Case{[](Header&h, Entry&e) { h.positions = e.positions = 0; }, "positions of a tile"},
                          Case{[](Header&h, Entry&e) { h.positions = e.positions = ~uint64_t{0}; }, "positions"},
                          Case{[](Header&h, Entry&e) { ++h.positions, ++e.positions; }, "elements of a tile"},
                          Case{[](Header&, Entry&e) { e.missing = 1; }, "missing"},
                          Case{[](Header&, Entry&e) { ++e.largest[0]; }, "smallest or largest"}}) {
        SCOPED_TRACE(c.sentence);
        auto header = format::load<Header>(sample.data());
        auto entry = format::load<Entry>(&sample[entry_at]);
        c.change(header, entry);
        Bytes changed = sample;
        format::store(changed.data(), header);
        format::store(&changed[entry_at], entry);
        seal(changed);
        EXPECT_NE(sentence_of(changed).find(c.sentence), std::string::npos) << sentence_of(changed);
    }
}

// A constant of 2^60 positions is a value as good as others, and costs nothing to read, pass over and append to.
TEST(Stored, HoldsAnyNumberOfPositions) {
    const uint64_t many = uint64_t{1} << 60;
    Writer writer(type_of(Type::int8));
    const int64_t value = 5;
    writer.put_repeated(&value, many);
    writer.put_progression(-10, 3, many);
    const Buffer buffer = writer.finish();
    const Stored stored(buffer.bytes());
    EXPECT_EQ(fault_of(buffer.bytes()), "");
    const auto place = stored.find(many + 1000);
    EXPECT_EQ(place.tile, 1U);
    TileReader reader(stored);
    reader.open(1);
    reader.skip(1000);
    int64_t found = 0;
    uint8_t run = 0;
    EXPECT_EQ(reader.read(&found, &run, 1).positions, 1U);
    EXPECT_EQ(found, 2990);
    const Buffer twice = append(stored, stored);
    EXPECT_EQ(Stored(twice.bytes()).positions(), 4 * many);
    EXPECT_THROW(append(Stored(twice.bytes()), stored), Error);
    EXPECT_THROW(Writer(type_of(Type::uint2)).put_progression(65000, 1, 537), Error);
    EXPECT_THROW(Writer(type_of(Type::int8)).put_progression(0, INT64_MIN / 2, 4), Error);
}

}  // namespace
}  // namespace test
