// Codings: how the element values of a tile become bytes, and back. Each is a row of one table.
//
// A coding knows nothing of runs, checksums and directories: it sees elements. Reading is sequential, as some codings
// add up what they read; `open` has checked all that `read` relies on.
#pragma once

#include "stored/format.h"
#include "stored/reader.h"

namespace qvo::value {

/// Header of the codings that hold integers as small offsets: narrow, delta, and decimal.
struct OffsetHeader {
    uint8_t bits;    // of an offset: 1, 2, 4, 8, 12, 16, 24, 32
    uint8_t digits;  // decimals: values are integers divided by 10^digits
    uint8_t flags;
    uint8_t reserved[5];  // 0
    uint64_t base;
    uint64_t unit;   // what an offset of 1 stands for
    uint64_t extra;  // deltas: what is added to each; missing values: the bits of NaN
};
static_assert(sizeof(OffsetHeader) == 32);
inline constexpr uint8_t offsets_of_deltas = 1;
inline constexpr uint8_t offsets_with_missing = 2;  // the offset of all ones is a missing value

/// What is known of the elements of a tile before a coding is chosen.
struct Profile {
    Extreme smallest, largest;
    uint64_t missing = 0;  // elements that are NaN
    size_t equal = 0;      // elements that are equal, bit by bit, to the one before
};

/// The elements to be written.
struct Elements {
    ValueType type;
    const uint8_t* values;  // aligned for the type
    size_t n;
    template <class V> const V* as() const { return reinterpret_cast<const V*>(values); }
};

/// Values that are start + i * step: integers in 64 bits, or doubles; the members are their bits.
struct Progression {
    static constexpr size_t stored_size = 16;
    uint64_t start = 0, step = 0;

    static bool allows(Type type) { return is_integer(type) || type == Type::timestamp || type == Type::double_; }
    /// Values from position `from` on, to an array of the type.
    void fill(Type type, uint64_t from, size_t n, void* to) const;
    /// Whether the elements are its values from position `from` on.
    bool matches(const Elements& elements, uint64_t from) const;
    /// Whether n more values from position `from` on are those of another one.
    bool continued_by(Type type, const Progression& other, uint64_t from, uint64_t n) const;
    /// Whether the values up to position n - 1 are values of the type, none of them missing or infinite.
    bool fits(Type type, uint64_t n) const;
};

/// Positions whose value is NaN; the runs are numbers of 32 or of 64 bits.
template <class Run> uint64_t missing_positions(const Elements& elements, const Run* runs);

/// How a coding would write a tile.
struct Plan {
    Encoding encoding = Encoding::plain;
    size_t size = 0;  // bytes
    OffsetHeader offsets{};
    Progression progression;
};

/// Arrays that codings keep between planning and writing, and from tile to tile.
struct Scratch {
    Buffer integers;              // decimals: the integers, int32_t or int64_t
    int64_t integers_from = 0;    // what they are counted from
    bool short_integers = false;  // which
    Buffer indices;               // dictionary: the indices, 16 bits each
    Buffer entries;               // dictionary: its values
    Buffer slots;                 // dictionary: hash table of numbers of entries
};

/// A tile that is being read.
struct OpenTile {
    ValueType type;
    uint64_t n = 0;   // elements; of a constant 1
    uint64_t at = 0;  // the next one
    const uint8_t* payload = nullptr;
    size_t size = 0;
    // What codings take from their headers.
    OffsetHeader offsets{};
    const uint8_t* body = nullptr;  // after the header
    uint64_t sum = 0;               // deltas: of the offsets before `at`
    Progression progression;
};

struct Coding {
    std::string_view name;
    /// Whether it can hold the elements in less than plan.size bytes; if so, fills in the plan.
    bool (*plan)(const Elements&, const Profile&, Scratch&, Plan&);
    /// Writes plan.size bytes.
    void (*write)(const Elements&, const Plan&, Scratch&, uint8_t* to);
    /// Checks the payload against the number of elements.
    void (*open)(OpenTile&);
    /// Reads n elements, which exist, to an array of the type, and goes on to the next; null `to` passes over them.
    void (*read)(OpenTile&, size_t n, void* to);
};

extern const Coding plain_coding, runs_coding, constant_coding, progression_coding, narrow_coding, delta_coding,
    decimal_coding, dictionary_coding;
inline constexpr size_t n_encodings = 8;
const Coding& coding_of(Encoding encoding);

/// Extremes, missing values and equal neighbours of n >= 1 elements, in one pass.
Profile profile_of(const Elements& elements);
/// Elements from `from` (at least 1) on that equal the one before.
size_t count_equal(const Elements& elements, size_t from);

/// The smallest plan among those that the content makes likely.
Plan choose_plan(const Elements& elements, const Profile& profile, bool single, Scratch& scratch);

[[noreturn]] void damaged(const char* what);

}  // namespace qvo::value
