// The header and the directory of a stored value. What is checked here costs a look at each entry, no tile is touched.
#include "stored/coding.h"

namespace qvo::value {
namespace {

using namespace format;

[[noreturn]] void refuse(std::string sentence) { throw Error(Fault::value, std::move(sentence)); }

Header header_of(std::span<const uint8_t> bytes) {
    if (bytes.size() < sizeof(Header) || std::memcmp(bytes.data(), magic, sizeof magic) != 0)
        refuse("not a stored sequence");
    const auto header = load<Header>(bytes.data());
    if (header.version != version)
        refuse("a stored sequence of version " + std::to_string(header.version) + ", only version 1 is known");
    if (header.type >= n_types) refuse("unknown type " + std::to_string(header.type));
    if (header.flags != 0 || header.reserved != 0) refuse("unknown flags " + std::to_string(header.flags));
    const ValueType type = type_of(static_cast<Type>(header.type));
    if (header.width == 0 || (type.width != 0 && header.width != type.width)) damaged("width");
    if (header.size != bytes.size()) damaged("size");
    if (header.tiles > (bytes.size() - sizeof(Header)) / sizeof(Entry)) damaged("number of tiles");
    return header;
}

/// Whether an entry can be that of a tile. `offset` is where its bytes must begin, `end` where the directory begins.
void check(const Entry& entry, unsigned width, uint64_t offset, uint64_t end) {
    if (entry.encoding >= n_encodings) refuse("unknown encoding " + std::to_string(entry.encoding));
    if ((entry.flags & ~flag_compressed) != 0 || entry.reserved != 0)
        refuse("unknown flags " + std::to_string(entry.flags) + " of a tile");
    if (entry.offset != offset || entry.size > end - offset || padded(entry.size) > end - offset)
        damaged("place of a tile");
    if (entry.elements == 0 || entry.positions < entry.elements || entry.positions > max_positions ||
        entry.missing > entry.positions)
        damaged("number of positions of a tile");
    const auto encoding = static_cast<Encoding>(entry.encoding);
    const bool runs = entry.run_width != 0;
    const bool endless = encoding == Encoding::constant || encoding == Encoding::progression;
    if (endless && entry.flags != 0) damaged("compression of a tile");
    if (entry.run_width > 4 || entry.run_width == 3 || (encoding == Encoding::plain && runs) ||
        (encoding == Encoding::runs && !runs))
        damaged("run lengths of a tile");
    if (encoding == Encoding::constant) {
        if (runs || entry.elements != 1) damaged("number of elements of a tile");
    } else if ((!runs && entry.elements != entry.positions) ||
               (encoding != Encoding::progression && entry.elements > max_tile_values / width) ||
               (encoding == Encoding::progression && runs)) {
        damaged("number of elements of a tile");
    }
}

}  // namespace

[[noreturn]] void damaged(const char* what) { refuse(std::string("a damaged stored sequence (") + what + ")"); }

std::string_view name_of(Encoding encoding) { return coding_of(encoding).name; }

Stored::Stored(std::span<const uint8_t> bytes) : bytes_(bytes) {
    const Header header = header_of(bytes);
    directory_ = bytes.size() - header.tiles * sizeof(Entry);
    n_tiles_ = header.tiles;
    type_ = {static_cast<Type>(header.type), header.width};
    if (!same_checksum(header_checksum(header, bytes.data() + directory_), header.checksum)) damaged("checksum");
    uint64_t offset = sizeof(Header);
    for (size_t i = 0; i < n_tiles_; ++i) {
        const auto entry = load<Entry>(bytes.data() + directory_ + i * sizeof(Entry));
        check(entry, header.width, offset, directory_);
        offset += padded(entry.size);
        positions_ += entry.positions;  // each is at most 2^62
        elements_ += entry.elements;
        if (positions_ > max_positions) damaged("number of positions");
    }
    if (offset != directory_) damaged("place of the directory");
    if (positions_ != header.positions || elements_ != header.elements) damaged("number of positions");
}

TileEntry Stored::tile(size_t i) const {
    const auto entry = load<Entry>(bytes_.data() + directory_ + i * sizeof(Entry));
    TileEntry tile;
    tile.positions = entry.positions;
    tile.elements = entry.elements;
    tile.missing = entry.missing;
    tile.offset = entry.offset;
    tile.size = entry.size;
    tile.encoding = static_cast<Encoding>(entry.encoding);
    tile.run_width = entry.run_width;
    tile.compressed = (entry.flags & flag_compressed) != 0;
    std::memcpy(tile.smallest.bytes, entry.smallest, sizeof entry.smallest);
    std::memcpy(tile.largest.bytes, entry.largest, sizeof entry.largest);
    tile.checksum = entry.checksum;
    return tile;
}

Stored::Place Stored::find(uint64_t position) const {
    const uint8_t* entry = bytes_.data() + directory_;
    Place place{0, 0};
    while (true) {
        const uint64_t positions = load<uint64_t>(entry + offsetof(Entry, positions));
        if (position - place.first_position < positions) return place;
        place.first_position += positions;
        ++place.tile;
        entry += sizeof(Entry);
    }
}

}  // namespace qvo::value
