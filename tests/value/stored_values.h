// Sequences to store, of every kind of content that some encoding is for, and reading them back position by position.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <vector>

#include "stored/format.h"
#include "stored/writer.h"

namespace test {

using namespace qvo::value;
using Bytes = std::vector<uint8_t>;
using Engine = std::mt19937_64;

/// What a sequence holds: the number at position i, before it is made a value of a type.
struct Content {
    const char* name;
    double (*number)(size_t i, Engine& random);
};

inline double walk_of(size_t i, unsigned step) { return 1e6 + static_cast<double>(i * step + i * i % 7); }

inline const Content contents[] = {
    {"any bits", [](size_t, Engine& random) { return std::bit_cast<double>(random()); }},
    {"small", [](size_t, Engine& random) { return static_cast<double>(random() % 100); }},
    {"the same", [](size_t, Engine&) { return 7.0; }},
    {"regular", [](size_t i, Engine&) { return 3.0 * static_cast<double>(i); }},
    {"runs of 5", [](size_t i, Engine&) { return static_cast<double>(i / 5 * 37 % 101); }},
    {"runs of 300", [](size_t i, Engine&) { return static_cast<double>(i / 300 % 2); }},
    {"ascending", [](size_t i, Engine&) { return walk_of(i, 11); }},
    {"whole thousands", [](size_t i, Engine&) { return 1000 * walk_of(i, 3); }},
    {"two values", [](size_t, Engine& random) { return random() % 2 != 0 ? 0.0 : -0.0; }},
    {"few values", [](size_t, Engine& random) { return std::ldexp(1.0, static_cast<int>(random() % 11)); }},
    {"one and many", [](size_t i, Engine& random) { return i < 2000 ? 5.0 : static_cast<double>(random() % 9973); }},
    {"thousands", [](size_t, Engine& random) { return static_cast<double>(random() % 3000); }},
    {"millions", [](size_t, Engine& random) { return static_cast<double>(random() % 9999991); }},
    {"prices", [](size_t, Engine& random) { return static_cast<double>(random() % 30000) / 100; }},
    {"gaps", [](size_t, Engine& random) { return random() % 9 != 0 ? static_cast<double>(random() % 99) / 10 : NAN; }},
    {"limits", [](size_t, Engine& random) { return random() % 2 != 0 ? HUGE_VAL : -HUGE_VAL; }},
};

/// The value of a number in a type, appended: integers take what they can hold, text its digits.
inline void append_value(Bytes& to, ValueType type, double number) {
    const size_t at = to.size();
    to.resize(at + type.width);
    if (type.type == Type::char_) {
        char text[32];
        std::snprintf(text, sizeof text, "%.0f", std::fmod(number, 1e15));
        for (size_t i = 0; i < type.width && text[i] != 0; ++i) to[at + i] = static_cast<uint8_t>(text[i]);
    } else if (type.type == Type::boolean) {
        to[at] = std::fmod(number, 2) != 0;
    } else {
        with_fixed(type.type, [&](auto tag) {
            using V = typename decltype(tag)::value;
            V value{};
            if constexpr (std::is_floating_point_v<V>) {
                value = static_cast<V>(number);
            } else if (number == number) {
                // The largest as a double is rounded up.
                using Limits = std::numeric_limits<V>;
                value = number >= static_cast<double>(Limits::max())   ? Limits::max()
                        : number <= static_cast<double>(Limits::min()) ? Limits::min()
                                                                       : static_cast<V>(number);
            }
            std::memcpy(&to[at], &value, sizeof value);
        });
    }
}

inline Bytes make(ValueType type, const Content& content, size_t n, unsigned seed) {
    Engine random(seed);
    Bytes values;
    for (size_t i = 0; i < n; ++i) append_value(values, type, content.number(i, random));
    return values;
}

inline std::vector<ValueType> all_types() {
    std::vector<ValueType> types;
    for (unsigned t = 0; t < n_types; ++t)
        if (static_cast<Type>(t) != Type::char_) types.push_back(type_of(static_cast<Type>(t)));
    for (const size_t width : {1, 5, 8, 40, 255}) types.push_back(char_of(width));
    return types;
}

/// How a sequence reaches the writer.
enum class Runs { none, joined, cut };

/// Hands n values over as operators would: in tiles of some size, equal neighbours joined or cut at random.
inline void put(Writer& writer, const Bytes& values, size_t width, Runs runs, Engine& random) {
    const size_t n = values.size() / width;
    if (runs == Runs::none) return writer.put_single(values.data(), n);
    for (size_t i = 0; i < n;) {
        Bytes tile, tile_runs;
        for (size_t room = 1 + random() % 700; room != 0 && i < n; --room) {
            const size_t most = runs == Runs::joined ? 255 : 1 + random() % 4;
            size_t run = 1;
            while (run < most && i + run < n &&
                   std::equal(&values[i * width], &values[i * width] + width, &values[(i + run) * width]))
                ++run;
            tile.insert(tile.end(), &values[i * width], &values[i * width] + width);
            tile_runs.insert(tile_runs.begin(), static_cast<uint8_t>(run));
            i += run;
        }
        writer.put(tile.data(), &tile_runs.back(), tile_runs.size());
    }
}

inline Buffer store(ValueType type, const Bytes& values, WriterOptions options = {}) {
    Writer writer(type, options);
    writer.put_single(values.data(), values.size() / type.width);
    return writer.finish();
}

/// Reads what is left of an open tile, at most `most` positions of it, with `room` elements at a time.
inline void read_tile(TileReader& reader, size_t width, size_t room, uint64_t most, Bytes& to) {
    std::vector<uint64_t> aligned((room * width + 7) / 8);
    auto* const values = reinterpret_cast<uint8_t*>(aligned.data());
    Bytes runs(room);
    for (uint64_t done = 0; done < most;) {
        const auto read = reader.read(values, &runs.back(), room);
        if (read.elements == 0) return;
        for (size_t i = 0; i < read.elements; ++i)
            for (unsigned run = runs[room - 1 - i]; run != 0; --run)
                to.insert(to.end(), values + i * width, values + (i + 1) * width);
        done += read.positions;
    }
}

/// All positions of a value.
inline Bytes read_all(const Stored& stored, size_t room) {
    Bytes all;
    TileReader reader(stored);
    for (size_t i = 0; i < stored.n_tiles(); ++i) {
        reader.open(i);
        read_tile(reader, stored.type().width, room, UINT64_MAX, all);
    }
    return all;
}

/// Makes the checksums of a changed value right, as far as its header and directory can be made out.
inline void seal(Bytes& value) {
    using namespace format;
    if (value.size() < sizeof(Header)) return;
    auto header = load<Header>(value.data());
    if (header.tiles > (value.size() - sizeof(Header)) / sizeof(Entry)) return;
    uint8_t* const directory = value.data() + value.size() - header.tiles * sizeof(Entry);
    for (size_t i = 0; i < header.tiles; ++i) {
        auto entry = load<Entry>(directory + i * sizeof(Entry));
        if (entry.offset > value.size() || padded(entry.size) > value.size() - entry.offset) continue;
        entry.checksum = tile_checksum(value.data() + entry.offset, padded(entry.size));
        format::store(directory + i * sizeof(Entry), entry);
    }
    header.checksum = header_checksum(header, directory);
    format::store(value.data(), header);
}

}  // namespace test
