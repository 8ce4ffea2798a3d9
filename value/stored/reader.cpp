// Reading tiles: elements from their codings, and their runs in bytes from 1 to 255.
//
// An element whose run is longer than 255, or is left in its midst by `skip` or for want of room, is decoded once and
// kept; what is left of its run comes first in the next read.
#include <zstd.h>

#include <algorithm>
#include <utility>

#include "stored/coding.h"
#include "stored/run_lengths.h"

namespace qvo::value {
namespace {

using namespace format;

constexpr unsigned max_run = 255;

/// To the run bytes that lie from `first` downwards.
void reverse_copy(uint8_t* first, const uint8_t* runs, size_t n) {
    size_t i = 0;
    for (; i + 8 <= n; i += 8) store(first - i - 7, __builtin_bswap64(load<uint64_t>(runs + i)));
    for (; i < n; ++i) first[-static_cast<ptrdiff_t>(i)] = runs[i];
}

void fill_runs(uint8_t* first, size_t n, unsigned run) { std::memset(first - n + 1, static_cast<int>(run), n); }

struct FreeContext {
    void operator()(ZSTD_DCtx* context) const { ZSTD_freeDCtx(context); }
};

}  // namespace

struct TileReader::State {
    Stored stored;
    size_t width;
    OpenTile tile{};
    const Coding* coding = nullptr;
    RunLengths runs;
    uint64_t left = 0;       // positions of the tile
    uint64_t kept_left = 0;  // positions of the element that is kept
    alignas(8) uint8_t kept[max_char];
    Buffer inflated;
    std::unique_ptr<ZSTD_DCtx, FreeContext> context;

    explicit State(const Stored& from) : stored(from), width(from.type().width) {}

    /// The bytes of a compressed tile, of which there are at most as many as any tile has.
    std::span<const uint8_t> inflate(std::span<const uint8_t> bytes, size_t most) {
        const unsigned long long size = ZSTD_getFrameContentSize(bytes.data(), bytes.size());
        if (size == ZSTD_CONTENTSIZE_UNKNOWN || size == ZSTD_CONTENTSIZE_ERROR || size > most) damaged("compression");
        inflated.resize(0);
        uint8_t* const to = inflated.extend(size);
        if (!context) context.reset(ZSTD_createDCtx());
        if (!context) throw std::bad_alloc();
        // A frame that asks for more than the tile's bytes is none of ours.
        const size_t got = ZSTD_decompressDCtx(context.get(), to, size, bytes.data(), bytes.size());
        if (got != size) damaged("compression");
        return {to, size};
    }

    void open(size_t i) {
        const TileEntry entry = stored.tile(i);
        std::span<const uint8_t> bytes = stored.bytes().subspan(entry.offset, entry.size);
        if (!same_checksum(tile_checksum(bytes.data(), padded(bytes.size())), entry.checksum))
            damaged("checksum of a tile");
        coding = &coding_of(entry.encoding);
        const bool constant = entry.encoding == Encoding::constant;
        if (entry.compressed)
            bytes = inflate(bytes, max_coding_header + max_tile_values + 4 * (max_tile_values / width));
        const size_t run_bytes = entry.run_width == 0 ? 0 : entry.elements * entry.run_width;
        if (run_bytes > bytes.size()) damaged("run lengths of a tile");
        runs = {bytes.data() + bytes.size() - run_bytes, entry.run_width};
        if (runs.width != 0 && !runs.match(entry.elements, entry.positions)) damaged("run lengths of a tile");
        tile = OpenTile{};
        tile.type = stored.type();
        tile.n = entry.elements;
        tile.payload = bytes.data();
        tile.size = bytes.size() - run_bytes;
        coding->open(tile);
        left = entry.positions;
        kept_left = 0;
        if (constant) keep(entry.positions);
    }

    void decode(size_t n, void* to) { coding->read(tile, n, to); }
    /// Decodes the next element to be handed out in parts.
    void keep(uint64_t positions) {
        decode(1, kept);
        kept_left = positions;
    }

    /// Hands out what is kept.
    size_t read_kept(uint8_t* values, uint8_t* first_run, size_t room) {
        size_t n = 0;
        for (; kept_left != 0 && n < room; ++n) {
            const unsigned run = kept_left < max_run ? static_cast<unsigned>(kept_left) : max_run;
            std::memcpy(values + n * width, kept, width);
            first_run[-static_cast<ptrdiff_t>(n)] = static_cast<uint8_t>(run);
            kept_left -= run;
        }
        return n;
    }

    Read read_single(void* values, uint8_t* first_run, size_t room) {
        const size_t n = static_cast<size_t>(std::min<uint64_t>(room, tile.n - tile.at));
        decode(n, values);
        fill_runs(first_run, n, 1);
        left -= n;
        return {n, n, true};
    }

    /// Elements with runs of one byte, none of which need to be cut.
    size_t read_short(uint8_t* values, uint8_t* first_run, size_t room) {
        const size_t n = static_cast<size_t>(std::min<uint64_t>(room, tile.n - tile.at));
        reverse_copy(first_run, runs.bytes + tile.at, n);
        decode(n, values);
        return n;
    }

    /// Elements with longer runs: as many as fit whole are decoded at once and moved to their places from the last on.
    size_t read_long(uint8_t* values, uint8_t* first_run, size_t room) {
        size_t n = 0, pieces = 0;
        const uint64_t at = tile.at;
        for (; at + n < tile.n; ++n) {
            const uint64_t more = (runs.at(at + n) + max_run - 1) / max_run;
            if (more > room - pieces) break;
            pieces += static_cast<size_t>(more);
        }
        decode(n, values);
        size_t to = pieces;
        for (size_t i = n; i-- != 0;) {
            uint64_t run = runs.at(at + i);
            // The last piece has what the others leave; all of them hold the same value.
            for (unsigned last = static_cast<unsigned>((run - 1) % max_run + 1); run != 0; last = max_run) {
                --to;
                first_run[-static_cast<ptrdiff_t>(to)] = static_cast<uint8_t>(last);
                if (to != i) std::memcpy(values + to * width, values + i * width, width);
                run -= last;
            }
        }
        if (tile.at < tile.n && pieces < room) keep(runs.at(tile.at));
        return pieces;
    }

    Read read(void* to, uint8_t* first_run, size_t room) {
        auto* const values = static_cast<uint8_t*>(to);
        if (room == 0 || left == 0) return {};
        if (runs.width == 0 && kept_left == 0) return read_single(to, first_run, room);
        size_t n = 0;
        while (n < room) {
            if (kept_left != 0) n += read_kept(values + n * width, first_run - n, room - n);
            if (n == room || tile.at == tile.n) break;
            n += runs.width == 1 ? read_short(values + n * width, first_run - n, room - n)
                                 : read_long(values + n * width, first_run - n, room - n);
        }
        Read read{n, sum_run_bytes(first_run - n + 1, n), true};
        read.single = read.positions == n;
        left -= read.positions;
        return read;
    }

    uint64_t read_whole(void* value) {
        if (left == 0) return 0;
        if (kept_left == 0) keep(runs.width == 0 ? 1 : runs.at(tile.at));
        std::memcpy(value, kept, width);
        left -= kept_left;
        return std::exchange(kept_left, 0);
    }

    void skip(uint64_t positions) {
        left -= positions;
        const uint64_t of_kept = std::min(positions, kept_left);
        kept_left -= of_kept;
        positions -= of_kept;
        uint64_t n = 0;
        if (runs.width == 0) {
            n = positions;
            positions = 0;
        } else {
            for (; positions != 0 && runs.at(tile.at + n) <= positions; ++n) positions -= runs.at(tile.at + n);
        }
        if (n != 0) decode(n, nullptr);
        if (positions != 0) keep(runs.at(tile.at) - positions);
    }
};

TileReader::TileReader(const Stored& stored) : state_(std::make_unique<State>(stored)) {}
TileReader::~TileReader() = default;
TileReader::TileReader(TileReader&&) noexcept = default;

void TileReader::open(size_t tile) { state_->open(tile); }
uint64_t TileReader::positions_left() const { return state_->left; }
TileReader::Read TileReader::read(void* values, uint8_t* first_run, size_t room) {
    return state_->read(values, first_run, room);
}
uint64_t TileReader::read_whole(void* value) { return state_->read_whole(value); }
void TileReader::skip(uint64_t positions) { state_->skip(positions); }

const uint8_t* TileReader::plain() const {
    return state_->coding == &plain_coding && state_->runs.width == 0 ? state_->tile.payload : nullptr;
}

}  // namespace qvo::value
