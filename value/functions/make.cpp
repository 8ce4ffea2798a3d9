// Make and read: functions that build sequences from values, and that look at them.
#include "base/text.h"
#include "evaluate/cursor.h"
#include "evaluate/deliver.h"
#include "evaluate/expression.h"
#include "evaluate/scalar.h"
#include "evaluate/source.h"
#include "evaluate/width.h"
#include "functions/catalog.h"
#include "functions/gather.h"
#include "functions/json.h"
#include "operators/convert.h"

namespace qvo::value {
namespace {

/// The type that an argument names.
ValueType named_type(const Arguments& arguments, size_t i) {
    const std::optional<ValueType> type = type_named(arguments.text(i));
    if (!type)
        arguments.refuse(i,
                         "type must be boolean, int1, int2, int4, int8, uint1, uint2, uint4, uint8, float, double, "
                         "timestamp, char or char(n) with n from 1 to 255, got " +
                             arguments.described(i));
    return *type;
}

void length(Arguments& a, Result& result) {
    if (a.is_directly_stored(0)) return result.set(static_cast<int64_t>(a.stored(0).positions()));
    const Series x = a.series(0);
    while (!x.length && a.plan().pull(x.it)) {}
    result.set(static_cast<int64_t>(x.length ? *x.length : x.it->next_seq_no));
}

void type(Arguments& a, Result& result) { result.set_text(name_of(a.type(0))); }

/// The value at a position, which exists.
Scalar value_at(const Stored& x, uint64_t position) {
    const Stored::Place place = x.find(position);
    TileReader reader(x);
    reader.open(place.tile);
    reader.skip(position - place.first_position);
    uint8_t element[max_char], run;
    reader.read(element, &run, 1);
    return scalar_at(x.type(), element);
}

void get(Arguments& a, Result& result) {
    const Stored& x = a.stored(0);
    const int64_t n = static_cast<int64_t>(x.positions());
    int64_t i = a.integer(1);
    if (i < 0) i += n;
    if (i < 0 || i >= n) return result.set_null();
    set_result(result, value_at(x, static_cast<uint64_t>(i)));
}

Series slice(Plan& plan, Arguments& a) {
    const Array* const array = a.array(0);
    const int64_t n = static_cast<int64_t>(array != nullptr ? array->n : a.stored(0).positions());
    const auto bound = [n](int64_t i) { return std::clamp<int64_t>(i < 0 ? i + n : i, 0, n); };
    const int64_t start = bound(a.integer(1)), stop = a.has(2) ? bound(a.integer(2)) : n;
    const auto first = static_cast<uint64_t>(start), last = static_cast<uint64_t>(std::max(start, stop));
    if (array == nullptr) return stored_source(plan, a.stored(0), first, last);
    const auto* const values = static_cast<const uint8_t*>(array->values);
    return array_source(plan, {array->type, values + first * array->type.width, last - first});
}

/// The smallest and the largest of the tiles' extremes; nothing if all is missing or the type is char.
void put_extremes(std::string& json, const Stored& x) {
    std::optional<Scalar> least, most;
    for (size_t i = 0; i < x.n_tiles(); ++i) {
        const TileEntry tile = x.tile(i);
        if (tile.missing == tile.positions || x.type().type == Type::char_) continue;
        const Scalar low = scalar_at(x.type(), tile.smallest.bytes), high = scalar_at(x.type(), tile.largest.bytes);
        if (!least || compare(low, *least) < 0) least = low;
        if (!most || compare(high, *most) > 0) most = high;
    }
    json += ",\"min\":";
    least ? put_json(json, *least) : void(json += "null");
    json += ",\"max\":";
    most ? put_json(json, *most) : void(json += "null");
}

void info(Arguments& a, Result& result) {
    const Stored& x = a.stored(0);
    std::string json = "{\"type\":\"" + name_of(x.type()) + "\",\"length\":" + std::to_string(x.positions()) +
                       ",\"elements\":" + std::to_string(x.elements()) + ",\"mean_run\":";
    put_double(json, x.elements() == 0 ? 0.0 : static_cast<double>(x.positions()) / static_cast<double>(x.elements()));
    json += ",\"bytes\":" + std::to_string(x.bytes().size()) + ",\"bytes_raw\":";
    uint64_t raw = 0;  // of a long constant it may be beyond any integer
    if (__builtin_mul_overflow(x.positions(), x.type().width, &raw))
        put_double(json, static_cast<double>(x.positions()) * x.type().width);
    else
        json += std::to_string(raw);
    json += ",\"tiles\":{";
    std::vector<std::pair<std::string_view, size_t>> tiles;
    for (size_t i = 0; i < x.n_tiles(); ++i) {
        const std::string_view name = name_of(x.tile(i).encoding);
        const auto found = std::find_if(tiles.begin(), tiles.end(), [&](const auto& t) { return t.first == name; });
        if (found == tiles.end())
            tiles.emplace_back(name, 1);
        else
            ++found->second;
    }
    for (const auto& [name, n] : tiles)
        json += (&name == &tiles.front().first ? "\"" : ",\"") + std::string(name) + "\":" + std::to_string(n);
    json += "}";
    put_extremes(json, x);
    result.set_text(json + "}");
}

void valid(Arguments& a, Result& result) {
    if (a.all()[0].expression != nullptr) return result.set(true);  // it was checked, or is no bytes at all
    Plan& plan = a.plan();
    result.set(a.datum(0).kind == Datum::Kind::bytes &&
               is_valid(a.datum(0).bytes, [&plan] { plan.check_interrupt(); }));
}

void to_json(Arguments& a, Result& result) { result.set_text(to_json(a.plan(), a.series(0))); }

void from_json(Arguments& a, Result& result) {
    std::optional<ValueType> type;
    if (a.has(1)) type = named_type(a, 1);
    result.set_bytes(from_json(a.plan(), a.text(0), type));
}

/// A step of microseconds: an integer, or a fixed width.
int64_t time_step(const Arguments& a, size_t i) {
    if (a.datum(i).kind == Datum::Kind::integer) return a.integer(i);
    if (a.datum(i).kind == Datum::Kind::text)
        if (const std::optional<Width> width = width_named(a.text(i));
            width && width->unit == Width::Unit::microseconds)
            return width->n;
    a.refuse(i, "step must be microseconds or a fixed width such as '15 minutes', got " + a.described(i));
}

void integer_range(Arguments& a, ValueType type, int64_t start, int64_t step, Result& result) {
    const int64_t n = a.integer(1);
    int64_t last;
    if (__builtin_mul_overflow(step, std::max<int64_t>(n - 1, 0), &last) || __builtin_add_overflow(start, last, &last))
        throw Error(Fault::overflow, "the last value does not fit int8");
    Writer writer(type);
    writer.put_progression(start, step, static_cast<uint64_t>(n));
    result.set_bytes(writer.finish());
}

void range(Arguments& a, Result& result) {
    const Datum& start = a.datum(0);
    const int64_t n = a.integer(1);
    if (start.kind == Datum::Kind::text) {
        if (!a.has(2)) a.refuse(2, "step is required beside a timestamp");
        return integer_range(a, type_of(Type::timestamp), a.scalar(0, type_of(Type::timestamp)).integer,
                             time_step(a, 2), result);
    }
    if (a.has(2) && !a.datum(2).is_number()) a.refuse(2, "step must be a number, got " + a.described(2));
    const Datum step = a.has(2) ? a.datum(2) : Datum(int64_t{1});
    if (start.kind == Datum::Kind::integer && step.kind == Datum::Kind::integer)
        return integer_range(a, type_of(Type::int8), start.integer, step.integer, result);
    a.plan().within_budget(static_cast<uint64_t>(n));
    Writer writer(type_of(Type::double_));
    const double first = a.real(0), by = a.has(2) ? a.real(2) : 1.0;
    for (int64_t i = 0; i < n; ++i) {
        const double value = first + static_cast<double>(i) * by;
        writer.put_single(&value, 1);
        if (i % 4096 == 0) a.plan().poll();
    }
    result.set_bytes(writer.finish());
}

void repeat(Arguments& a, Result& result) {
    const ValueType type = type_of(a.datum(0));
    uint8_t element[max_char];
    put_element(a.scalar(0, type), element);
    Writer writer(type);
    writer.put_repeated(element, static_cast<uint64_t>(a.integer(1)));
    result.set_bytes(writer.finish());
}

void append(Arguments& a, Result& result) {
    const Stored &x = a.stored(0), &y = a.stored(1);
    const std::optional<ValueType> type = meet(x.type(), y.type());
    if (!type) a.refuse_type(1, "that can follow " + name_of(x.type()), y.type());
    if (x.type() == y.type()) return result.set_bytes(append(x, y, [&a] { a.plan().check_interrupt(); }));
    Writer writer(*type);
    for (size_t i = 0; i < 2; ++i)
        for_each_tile(a.plan(), widened(a.plan(), a.series(i), *type),
                      [&](const void* values, const uint8_t* runs, size_t n) { writer.put(values, runs, n); });
    result.set_bytes(writer.finish());
}

Series cast(Plan& plan, Arguments& a) {
    const ValueType to = named_type(a, 1);
    if (to.type == Type::char_ && to.width == 0) plan.type_depends_on_values();
    return cast(plan, a.series(0), to);
}

void compress(Arguments& a, Result& result) { result.set_bytes(to_stored(a.plan(), a.series(0), {.compress = true})); }

Series decompress(Plan&, Arguments& a) { return a.series(0); }

/// Positions and values side by side.
class SequenceRows final : public Rows {
 public:
    SequenceRows(Arguments& a) : plan_(a.plan()) {
        for (size_t i = 0; i < a.size(); ++i) {
            stored_.push_back(a.stored(i));
            if (stored_[i].positions() != stored_[0].positions())
                throw Error(Fault::argument,
                            "sequences of different lengths: " + std::to_string(stored_[0].positions()) + " and " +
                                std::to_string(stored_[i].positions()));
        }
        last_ = stored_[0].positions();
    }
    void limit(uint64_t first, uint64_t last) override {
        first_ = std::min(first, last_);
        if (last < last_) last_ = std::max(first_, last + 1);
    }
    bool next() override {
        if (cursors_.empty()) {
            for (const Stored& stored : stored_)
                cursors_.emplace_back(plan_, stored_source(plan_, stored, first_, last_));
            position_ = first_;
        } else {
            ++position_;
        }
        for (Cursor& cursor : cursors_)
            if (!cursor.next()) return false;
        return true;
    }
    void column(unsigned index, Result& result) override {
        if (index == 0) return result.set(static_cast<int64_t>(position_));
        if (index > cursors_.size()) return result.set_null();
        set_result(result, cursors_[index - 1].scalar());
    }

 private:
    Plan& plan_;
    std::vector<Stored> stored_;
    std::vector<Cursor> cursors_;
    uint64_t first_ = 0, last_ = 0, position_ = 0;
};

std::unique_ptr<Rows> rows(Arguments& a) { return std::make_unique<SequenceRows>(a); }

constexpr int64_t most_positions = int64_t{1} << 62;

const Function functions[] = {
    {.name = "pack",
     .group = Group::make,
     .kind = Kind::aggregate,
     .in_order = true,
     .summary = "The values of the rows as a sequence, ordered by a key.",
     .parameters = {{"v", Takes::nullable},
                    {"key", Takes::nullable, Of::any, {}, {}, true},
                    {"type", Takes::text, Of::any, {}, {}, true}},
     .result =
         "as named; without a type int8 if all values are integers, double if any is a real, char if all are text",
     .rule =
         "Rows are taken in the order of their keys, equal keys in the order in which they come; without a key in the "
         "order of the rows. NULL becomes a missing value in float and double and is refused by other types "
         "(coalesce replaces it), as is a value that its type does not hold. Timestamps are ISO 8601 text or "
         "microseconds since 1970-01-01 UTC. A key may not be NULL. No rows give NULL.",
     .example = {"pack(3, 1, 'int4')", "[3]"},
     .aggregate = make_pack},
    {.name = "rows",
     .group = Group::make,
     .kind = Kind::table,
     .summary = "The positions and values of sequences of equal length, a row each.",
     .parameters = {{"x"}},
     .repeats = true,
     .result = "columns pos (from 0), v1 … v8",
     .rule =
         "Up to 8 sequences. A condition on pos reads only the positions that it allows. Missing values are NULL. No "
         "rows for NULL.",
     .example = {"rows([1.5, null])", "0|1.5\n1|NULL"},
     .columns = "pos v1 v2 v3 v4 v5 v6 v7 v8",
     .rows = rows},
    {.name = "from_json",
     .group = Group::make,
     .summary = "A JSON array as a sequence.",
     .parameters = {{"text", Takes::text}, {"type", Takes::text, Of::any, {}, {}, true}},
     .result =
         "as named; without a type int8 if all values are integers, double if they are numbers or null, char if they "
         "are strings, boolean if they are true or false; double for []",
     .rule = "Timestamps are strings and need their type named. 9e999 is infinity.",
     .example = {"from_json('[1.5,null,3]')", "[1.5,null,3.0]"},
     .python = "from_json",
     .compute = from_json},
    {.name = "to_json",
     .group = Group::make,
     .summary = "The sequence as a JSON array.",
     .parameters = {{"x"}},
     .result = "text",
     .rule = "Doubles are written with a point or an exponent, in the shortest form that reads back; timestamps as "
             "strings; a missing value as null, infinity as 9e999.",
     .example = {"to_json([1.5, null, 3])", "[1.5,null,3.0]"},
     .compute = to_json},
    {.name = "length",
     .group = Group::make,
     .summary = "The number of positions, missing values included.",
     .parameters = {{"x"}},
     .result = "integer",
     .rule = "",
     .example = {"length([1, 1, null])", "3"},
     .compute = length},
    {.name = "type",
     .group = Group::make,
     .summary = "The name of the type.",
     .parameters = {{"x"}},
     .result = "text",
     .rule = "",
     .example = {"type(['ab'])", "char(2)"},
     .compute = type},
    {.name = "get",
     .group = Group::make,
     .summary = "The value at a position.",
     .parameters = {{"x"}, {"i", Takes::integer}},
     .result = "a value of x; timestamps as text",
     .rule = "Positions count from 0; negative ones from the end, -1 being the last. Outside: NULL.",
     .example = {"get([5, 6, 7], -1)", "7"},
     .compute = get},
    {.name = "slice",
     .group = Group::make,
     .summary = "The positions from start up to, not including, stop.",
     .parameters = {{"x"},
                    {"start", Takes::integer},
                    {"stop", Takes::integer, Of::any, std::numeric_limits<int64_t>::min(),
                     std::numeric_limits<int64_t>::max(), true}},
     .result = "as x",
     .rule =
         "As Python's x[start:stop]: negative bounds count from the end, bounds outside are moved to the end they are "
         "beyond.",
     .example = {"slice([5, 6, 7, 8], 1, -1)", "[6,7]"},
     .build = slice},
    {.name = "info",
     .group = Group::make,
     .summary = "What is known of a stored sequence without reading its values.",
     .parameters = {{"x"}},
     .result = "text: JSON with type, length, elements, mean_run, bytes, bytes_raw, tiles by encoding, min, max",
     .rule = "min and max are null for char, and where all values are missing.",
     .example = {"info(int4[7, 7, 7])",
                 "{\"type\":\"int4\",\"length\":3,\"elements\":1,\"mean_run\":3.0,\"bytes\":120,\"bytes_raw\":12,"
                 "\"tiles\":{\"constant\":1},\"min\":7,\"max\":7}"},
     .compute = info},
    {.name = "valid",
     .group = Group::make,
     .summary = "1 if the bytes are a sound sequence in every part, else 0.",
     .parameters = {{"blob", Takes::nullable}},
     .result = "integer",
     .rule = "Reads everything once. Never an error; what is no blob is not a sequence.",
     .example = {"valid([1, 2])", "1"},
     .compute = valid},
    {.name = "range",
     .group = Group::make,
     .summary = "start, start + step, start + 2 step …: n values.",
     .parameters = {{"start", Takes::scalar},
                    {"n", Takes::integer, Of::any, 0, most_positions},
                    {"step", Takes::scalar, Of::any, {}, {}, true}},
     .result = "int8; double if start or step is a real; timestamp if start is text",
     .rule =
         "The i-th value is start + i·step, not a running sum. The step is 1 by default; of timestamps it is required, "
         "in microseconds or a fixed width such as '15 minutes'. Integers of any number take a few bytes.",
     .example = {"range(10, 3, -5)", "[10,5,0]"},
     .python = "range",
     .compute = range},
    {.name = "repeat",
     .group = Group::make,
     .summary = "A value n times.",
     .parameters = {{"v", Takes::scalar}, {"n", Takes::integer, Of::any, 0, most_positions}},
     .result = "int8, double or char, as v",
     .rule = "Any number takes a few bytes.",
     .example = {"repeat('ab', 3)", "[\"ab\",\"ab\",\"ab\"]"},
     .python = "repeat",
     .compute = repeat},
    {.name = "join",
     .group = Group::make,
     .kind = Kind::aggregate,
     .in_order = true,
     .summary = "The sequences of the rows one after the other, ordered by a key.",
     .parameters = {{"x"}, {"key", Takes::nullable, Of::any, {}, {}, true}},
     .result = "the type in which the rows' types meet",
     .rule = "Equal types stay, char becomes as wide as the widest, numbers of different types meet as int8 or double. "
             "Rows are ordered by key, stably; a key may not be NULL. A row whose sequence is NULL is left out; no "
             "rows give NULL.",
     .example = {"join([1, 2], 1)", "[1,2]"},
     .aggregate = make_join},
    {.name = "append",
     .group = Group::make,
     .summary = "x, and y after it.",
     .parameters = {{"x"}, {"y"}},
     .result = "the type in which both meet, as in join",
     .rule = "Where the types are equal, only the last tile of x is rewritten.",
     .example = {"append([1, 2], [3.5])", "[1.0,2.0,3.5]"},
     .compute = append},
    {.name = "cast",
     .group = Group::make,
     .summary = "Every value as another type.",
     .parameters = {{"x"}, {"type", Takes::text}},
     .result = "as named; char without a width is as wide as the longest text",
     .rule =
         "Floating values become integers by rounding half to even; int8 and timestamp meet in microseconds; char is "
         "the text of to_json without quotes. A value that the type does not hold is an error with its position, a "
         "missing value among them (fill replaces it).",
     .example = {"cast([1.5, 2.5], 'int4')", "[2,2]"},
     .build = cast},
    {.name = "compress",
     .group = Group::make,
     .summary = "The same sequence in fewer bytes, slower to read.",
     .parameters = {{"x"}},
     .result = "as x",
     .rule =
         "Tiles are compressed with zstd where that makes them smaller. Every function reads such a sequence like any "
         "other.",
     .example = {"compress([1, 2])", "[1,2]"},
     .compute = compress},
    {.name = "decompress",
     .group = Group::make,
     .summary = "The sequence without compression.",
     .parameters = {{"x"}},
     .result = "as x",
     .rule = "",
     .example = {"decompress(compress([1, 2]))", "[1,2]"},
     .build = decompress},
};

}  // namespace

std::span<const Function> make_functions() { return functions; }

}  // namespace qvo::value
