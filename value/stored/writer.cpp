// Writing tiles: what is staged becomes a tile when it is full. Constant tiles and progressions wait until something
// comes that does not continue them, so neighbouring ones are one.
#include "stored/writer.h"

#include <zstd.h>

#include <utility>
#include <vector>

#include "stored/run_lengths.h"
#include "stored/stage.h"

namespace qvo::value {
namespace {

using namespace format;

struct FreeContext {
    void operator()(ZSTD_CCtx* context) const { ZSTD_freeCCtx(context); }
};

constexpr int compression_level = 3;
// Room made ahead for what is expected; beyond it, buffers grow as they must.
constexpr double max_reserved = 0x1p28;

}  // namespace

struct Writer::State {
    ValueType type;
    WriterOptions options;
    bool adopt_any = false;  // tiles of stored values are taken over compressed or not
    Buffer out;
    std::vector<Entry> entries;
    Stage stage;
    Scratch scratch;
    Buffer tile_scratch;
    std::unique_ptr<ZSTD_CCtx, FreeContext> context;
    uint64_t written = 0;      // positions
    uint64_t staged = 0;       // positions of the first tile, if they lay in the stage one by one
    uint64_t expected = 0;     // positions, of which most will be like the first tile's
    bool after_plain = false;  // the last tile lies where it was written, with its values as they are

    // The tile that waits: a constant or a progression, if it has any positions.
    struct {
        uint64_t positions = 0;
        Encoding encoding = Encoding::constant;
        uint8_t value[max_char] = {};
        Progression progression;
    } waiting;

    State(ValueType of, WriterOptions how) : type(of), options(std::move(how)), stage(of) {
        out.extend(sizeof(Header));
    }

    uint64_t positions() const { return written + waiting.positions + stage.positions(); }
    void check_room(uint64_t more) const {
        if (more > max_positions - positions()) throw Error(Fault::limit, "more than 2^62 positions");
    }

    // --- what comes in

    void put_single(const void* values, size_t n) {
        const auto* from = static_cast<const uint8_t*>(values);
        while (n != 0) {
            if (stage.size() == 0 && n >= stage.capacity() && write_in_place(from)) {
                from += stage.capacity() * type.width;
                n -= stage.capacity();
                continue;
            }
            const size_t some = std::min(n, stage.room());
            if (!stage.takes(some)) close();
            begin();
            stage.add_single(from, some);
            from += some * type.width;
            n -= some;
            if (stage.room() == 0) full();
        }
    }

    void put(const void* values, const uint8_t* first_run, size_t n) {
        const auto* from = static_cast<const uint8_t*>(values);
        while (n != 0) {
            const size_t some = std::min(n, stage.room());
            if (!stage.takes(255 * some)) close();
            begin();
            stage.add_with_runs(from, first_run, some);
            from += some * type.width;
            first_run -= some;
            n -= some;
            if (stage.room() == 0) full();
        }
    }

    void put_repeated(const void* value, uint64_t positions) {
        // A long run among single values is better off by itself.
        const bool alone = positions > 2 * stage.capacity() && stage.size() > 256 && stage.runs() == nullptr;
        if (stage.size() != 0 && (alone || !stage.takes(positions))) close();
        if (alone || !stage.takes(positions)) {
            wait_constant(static_cast<const uint8_t*>(value), positions);
            return;
        }
        stage.add_run(value, positions);
        if (stage.room() == 0) full();
    }

    void put_progression(const Progression& progression, uint64_t positions) {
        // Short ones are staged: a tile by itself would cost more.
        if (positions < full_tile_values / 2 / type.width) {
            alignas(8) uint8_t values[full_tile_values / 2];
            progression.fill(type.type, 0, static_cast<size_t>(positions), values);
            put_single(values, static_cast<size_t>(positions));
            return;
        }
        close();
        wait_progression(progression, positions);
    }

    void put_stored(const Stored& stored) {
        if (!(stored.type() == type))
            throw Error(Fault::argument, name_of(stored.type()) + " cannot be joined to " + name_of(type));
        stage.come_home();  // as the bytes written may move
        out.reserve(stored.bytes().size());
        size_t i = 0;
        check_room(stored.positions());
        if (positions() == 0 && adopt_any && stored.n_tiles() > 1) i = adopt_leading(stored);
        TileReader reader(stored);
        for (; i < stored.n_tiles(); ++i) {
            if (options.each_tile) options.each_tile();
            put_tile(stored, reader, i);
        }
    }

    /// All tiles but the last, at once.
    size_t adopt_leading(const Stored& stored) {
        const size_t n = stored.n_tiles() - 1;
        const uint8_t* const bytes = stored.bytes().data();
        const uint64_t end = stored.tile(n).offset;
        out.append(bytes + sizeof(Header), end - sizeof(Header));
        entries.resize(n);
        std::memcpy(entries.data(), bytes + stored.bytes().size() - (n + 1) * sizeof(Entry), n * sizeof(Entry));
        for (const Entry& entry : entries) written += entry.positions;
        return n;
    }

    void put_tile(const Stored& stored, TileReader& reader, size_t i) {
        const TileEntry entry = stored.tile(i);
        reader.open(i);
        const uint64_t raw = entry.elements * type.width;
        const bool endless = entry.encoding == Encoding::constant || entry.encoding == Encoding::progression;
        if (!endless && 2 * raw >= full_tile_values && (adopt_any || entry.compressed == options.compress))
            return adopt(stored, i);
        if (entry.encoding == Encoding::progression)
            return put_progression(load<Progression>(stored.bytes().data() + entry.offset), entry.positions);
        if (endless || entry.run_width > 1) {
            alignas(8) uint8_t value[max_char + 1];
            while (const uint64_t run = reader.read_whole(value)) put_repeated(value, run);
            return;
        }
        alignas(8) uint8_t values[4096];
        uint8_t runs[4096];
        const size_t room = sizeof values / type.width;
        while (true) {
            const auto read = reader.read(values, runs + sizeof runs - 1, room);
            if (read.elements == 0) break;
            put(values, runs + sizeof runs - 1, read.elements);
        }
    }

    void adopt(const Stored& stored, size_t i) {
        close();
        flush();
        const uint8_t* const bytes = stored.bytes().data();
        auto entry = load<Entry>(bytes + stored.bytes().size() - (stored.n_tiles() - i) * sizeof(Entry));
        const uint64_t from = entry.offset;
        entry.offset = out.size();
        out.append(bytes + from, padded(entry.size));
        entries.push_back(entry);
        written += entry.positions;
    }

    // --- tiles

    /// Before elements are staged: after a plain tile comes another most often, so they are staged where it will lie.
    void begin() {
        if (!after_plain || stage.size() != 0 || waiting.positions != 0 || expected != 0) return;
        out.reserve(padded(full_tile_values) + sizeof(Entry));
        stage.lie_in(out.data() + out.size());
    }

    /// The stage is full: unless joining made room, it becomes a tile.
    void full() {
        stage.settle();
        if (2 * stage.size() > stage.capacity()) close();
    }

    /// A full tile of single values from where they lie, if nothing needs to be joined.
    bool write_in_place(const uint8_t* values) {
        const Elements elements{type, values, stage.capacity()};
        const Profile profile = profile_of(elements);
        if (worth_joining(elements, profile)) return false;
        write(elements, profile, nullptr, elements.n);
        return true;
    }

    void close() {
        if (stage.size() == 0) return;
        stage.settle();
        if (written + waiting.positions == 0 && stage.runs() == nullptr) staged = stage.positions();
        write(stage.elements(), stage.profile(), stage.runs(), stage.positions());
        stage.clear();
    }

    /// Writes elements as a tile. The runs, if there are any, are those of the stage.
    void write(const Elements& elements, const Profile& profile, const uint32_t* runs, uint64_t positions) {
        const bool single = elements.n == positions;
        if (single && continues(elements)) {
            waiting.positions += positions;
            return;
        }
        const Plan plan = choose_plan(elements, profile, single, scratch);
        if (plan.encoding == Encoding::constant) return wait_constant(elements.values, positions);
        if (plan.encoding == Encoding::progression) return wait_progression(plan.progression, positions);
        flush();
        if (single) return write_tile(elements, profile, plan, nullptr, 0, positions);
        const uint64_t value_bits = 8 * plan.size / elements.n;
        const RunForm form = run_form(runs, elements.n, value_bits);
        const uint64_t raw = positions * type.width, single_size = plan.size * positions / elements.n;
        const bool keep = worth_joining(positions, elements.n) && form.size <= std::min(2 * single_size, raw);
        if (!keep && raw <= max_tile_values) return write_cut(1, 0);
        if (longest_run(runs, elements.n) > form.limit) return write_cut(form.limit, form.width);
        write_tile(elements, profile, plan, runs, form.width, positions);
    }

    /// Writes the stage with its runs cut.
    void write_cut(uint32_t limit, unsigned run_width) {
        stage.cut_runs(limit);
        const Plan plan = choose_plan(stage.elements(), stage.profile(), false, scratch);
        write_tile(stage.elements(), stage.profile(), plan, stage.runs(), run_width, stage.positions());
    }

    /// Whether elements, all of run 1, go on with the progression that waits.
    bool continues(const Elements& elements) const {
        return waiting.positions != 0 && waiting.encoding == Encoding::progression &&
               waiting.progression.matches(elements, waiting.positions);
    }

    void wait_constant(const uint8_t* value, uint64_t positions) {
        if (waiting.positions != 0 && waiting.encoding == Encoding::constant &&
            std::memcmp(waiting.value, value, type.width) == 0) {
            waiting.positions += positions;
            return;
        }
        flush();
        waiting.encoding = Encoding::constant;
        waiting.positions = positions;
        std::memcpy(waiting.value, value, type.width);
    }

    void wait_progression(const Progression& progression, uint64_t positions) {
        if (waiting.positions != 0 && waiting.encoding == Encoding::progression &&
            waiting.progression.continued_by(type.type, progression, waiting.positions, positions)) {
            waiting.positions += positions;
            return;
        }
        flush();
        waiting.encoding = Encoding::progression;
        waiting.positions = positions;
        waiting.progression = progression;
    }

    /// Writes the tile that waits.
    void flush() {
        if (waiting.positions == 0) return;
        Plan plan;
        plan.encoding = waiting.encoding;
        alignas(8) uint8_t values[max_char + 1];
        Elements elements{type, values, 1};
        if (waiting.encoding == Encoding::constant) {
            std::memcpy(values, waiting.value, type.width);
            plan.size = type.width;
        } else {
            // The first and the last are its extremes.
            plan.size = Progression::stored_size;
            plan.progression = waiting.progression;
            waiting.progression.fill(type.type, 0, 1, values);
            waiting.progression.fill(type.type, waiting.positions - 1, 1, values + type.width);
            elements.n = 2;
        }
        const Profile profile = profile_of(elements);
        write_tile(elements, profile, plan, nullptr, 0, waiting.positions);
        Entry& entry = entries.back();
        entry.elements = waiting.encoding == Encoding::constant ? 1 : waiting.positions;
        entry.missing = profile.missing != 0 ? waiting.positions : 0;
        waiting.positions = 0;
    }

    void write_tile(const Elements& elements, const Profile& profile, const Plan& plan, const uint32_t* runs,
                    unsigned run_width, uint64_t positions) {
        Entry entry{};
        entry.positions = positions;
        entry.elements = elements.n;
        entry.missing = profile.missing;
        if (profile.missing != 0 && runs != nullptr) entry.missing = missing_positions(elements, runs);
        entry.encoding =
            static_cast<uint8_t>(plan.encoding == Encoding::plain && run_width != 0 ? Encoding::runs : plan.encoding);
        entry.run_width = static_cast<uint8_t>(run_width);
        std::memcpy(entry.smallest, profile.smallest.bytes, sizeof entry.smallest);
        std::memcpy(entry.largest, profile.largest.bytes, sizeof entry.largest);
        entry.offset = out.size();

        const size_t size = plan.size + elements.n * run_width;
        after_plain = plan.encoding == Encoding::plain && run_width == 0 && !options.compress;
        Elements from = elements;
        if (stage.lent() && !after_plain) {  // what is written would overlap them
            stage.come_home();
            from = stage.elements();
        }
        if (expected > positions) reserve_for(size, positions);
        out.reserve(padded(size) + sizeof(Entry));  // the directory of a short sequence included
        uint8_t* const to = out.extend(padded(size));
        if (!stage.lent()) coding_of(plan.encoding).write(from, plan, scratch, to);
        if (run_width != 0) write_runs(runs, elements.n, run_width, to + plan.size);
        std::memset(to + size, 0, padded(size) - size);
        entry.size = static_cast<uint32_t>(size);
        if (options.compress && waiting.positions == 0) compress(entry);  // what waited is small as it is
        entry.checksum = tile_checksum(out.data() + entry.offset, padded(entry.size));
        entries.push_back(entry);
        written += positions;
    }

    /// Makes room for what is expected, the directory included, if it takes as much for each position as this tile.
    void reserve_for(size_t bytes, uint64_t positions) {
        const double tiles = static_cast<double>(expected) / static_cast<double>(positions) + 2;
        const double most = static_cast<double>(positions) * type.width;  // of a tile
        const double all = tiles * (std::min(most, static_cast<double>(bytes)) + sizeof(Entry) + sizeof(uint64_t));
        if (all < max_reserved) out.reserve(static_cast<size_t>(all));
        expected = 0;
    }

    /// Compresses the tile just written, if that makes it smaller.
    void compress(Entry& entry) {
        if (!context) context.reset(ZSTD_createCCtx());
        if (!context) throw std::bad_alloc();
        tile_scratch.resize(0);
        tile_scratch.extend(ZSTD_compressBound(entry.size));
        const size_t size = ZSTD_compressCCtx(context.get(), tile_scratch.data(), tile_scratch.size(),
                                              out.data() + entry.offset, entry.size, compression_level);
        if (ZSTD_isError(size)) throw std::bad_alloc();  // there is room for any result: only memory can be lacking
        if (padded(size) >= padded(entry.size)) return;
        std::memcpy(out.data() + entry.offset, tile_scratch.data(), size);
        std::memset(out.data() + entry.offset + size, 0, padded(size) - size);
        out.resize(entry.offset + padded(size));
        entry.size = static_cast<uint32_t>(size);
        entry.flags = flag_compressed;
    }

    Buffer finish() {
        close();
        flush();
        Header header{};
        std::memcpy(header.magic, magic, sizeof magic);
        header.version = version;
        header.type = static_cast<uint8_t>(type.type);
        header.width = type.width;
        header.positions = positions();
        for (const Entry& entry : entries) header.elements += entry.elements;
        header.tiles = static_cast<uint32_t>(entries.size());
        header.size = out.size() + entries.size() * sizeof(Entry);
        const auto* const directory = reinterpret_cast<const uint8_t*>(entries.data());
        header.checksum = header_checksum(header, directory);
        out.append(directory, entries.size() * sizeof(Entry));
        std::memcpy(out.data(), &header, sizeof header);
        return std::move(out);
    }

    Buffer values() {
        if (staged != written) return {};
        Buffer all = stage.release();
        all.resize(written * type.width);
        return all;
    }
};

Writer::Writer(ValueType type, WriterOptions options) : state_(std::make_unique<State>(type, std::move(options))) {}
Writer::~Writer() = default;
Writer::Writer(Writer&&) noexcept = default;

void Writer::put(const void* values, const uint8_t* first_run, size_t n) {
    state_->check_room(255 * uint64_t{n});
    state_->put(values, first_run, n);
}
void Writer::put_single(const void* values, size_t n) {
    state_->check_room(n);
    state_->put_single(values, n);
}
void Writer::put_repeated(const void* value, uint64_t positions) {
    state_->check_room(positions);
    if (positions != 0) state_->put_repeated(value, positions);
}
void Writer::put_progression(int64_t start, int64_t step, uint64_t positions) {
    state_->check_room(positions);
    if (positions == 0) return;
    if (step == 0) return state_->put_repeated(&start, positions);  // little-endian: the low bytes are the value
    const Progression progression{static_cast<uint64_t>(start), static_cast<uint64_t>(step)};
    if (!progression.fits(state_->type.type, positions))
        throw Error(Fault::overflow, "start " + std::to_string(start) + " and step " + std::to_string(step) +
                                         " lead beyond " + name_of(state_->type));
    state_->put_progression(progression, positions);
}
void Writer::expect(uint64_t positions) { state_->expected = positions; }
void Writer::put_stored(const Stored& stored) { state_->put_stored(stored); }
uint64_t Writer::positions() const { return state_->positions(); }
Buffer Writer::finish() { return state_->finish(); }
Buffer Writer::values() { return state_->values(); }

Buffer append(const Stored& x, const Stored& y, std::function<void()> each_tile) {
    WriterOptions options{.each_tile = std::move(each_tile)};
    for (size_t i = 0; i < x.n_tiles() && !options.compress; ++i) options.compress = x.tile(i).compressed;
    Writer writer(x.type(), options);
    writer.state_->adopt_any = true;
    writer.put_stored(x);
    writer.put_stored(y);
    return writer.finish();
}

}  // namespace qvo::value
