// Strings that match a pattern with % (any bytes), _ (one byte) and backslash escapes.
//
// The constructor looks at the pattern and picks one of three matchers. The matchers end a string at its first zero
// byte or at the width, and never look at the pattern after the byte that decides.
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "core/elementwise.h"

namespace qvo {
namespace {

inline constexpr unsigned max_shift = 255;

// Strings of one byte in a call from which on each byte is matched once and looked up from there on.
inline constexpr size_t fewest_for_table = 512;

static_assert(sizeof(void*) != 8 || sizeof(qvo_seq_match_context_t) == sizeof(qvo_seq_iterator_t::context));

struct PatternScan {
    int length;     // up to the zero byte, escapes included
    int wildcards;  // that are not escaped
};

PatternScan scan_pattern(const char* pattern) {
    PatternScan scan{0, 0};
    for (; pattern[scan.length] != '\0'; ++scan.length) {
        const char c = pattern[scan.length];
        scan.wildcards += c == '%' || c == '_';
        if (c == '\\' && pattern[scan.length + 1] != '\0') ++scan.length;
    }
    return scan;
}

/// How far the substring search may move on, by the byte under the needle's last one. Deliberate: the entry of byte 255
/// is only set if the needle holds that byte before its end, else it stays what the context held. Needles that are
/// longer than an entry can say just move on in smaller steps.
void fill_shifts(qvo_seq_match_context_t& context) {
    const auto entry = [](int shift) {
        return static_cast<uint8_t>(std::min(static_cast<unsigned>(shift), max_shift));
    };
    const char* const needle = context.pattern + 1;
    const int length = context.pn - 2;
    std::memset(context.shift, entry(length), sizeof context.shift - 1);
    for (int i = 0; i + 1 < length; ++i) context.shift[static_cast<uint8_t>(needle[i])] = entry(length - 1 - i);
}

// ---- Places of a substring ----

/// What lies between two percent signs; at least a byte.
struct Needle {
    const char* bytes;
    size_t last;  // index of its last byte

    QVO_INLINE explicit Needle(const qvo_seq_match_context_t& context)
        : bytes(context.pattern + 1), last(static_cast<size_t>(context.pn - 3)) {}
};

// Places that are looked at in one go, in two halves that need not be neighbours.
constexpr size_t half = 8;

/// Bit i is set if byte i of the two halves is the given one.
QVO_INLINE uint32_t equal_bytes(const char* low, const char* high, char byte) {
#if defined(__SSE2__)
    const __m128i both = _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(low)),
                                            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(high)));
    return static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(both, _mm_set1_epi8(byte))));
#else
    uint32_t bits = 0;
    for (size_t i = 0; i < half; ++i) bits |= uint32_t{low[i] == byte} << i | uint32_t{high[i] == byte} << (half + i);
    return bits;
#endif
}

QVO_INLINE bool stands_at(const char* text, const Needle& needle) {
    for (size_t i = 0; i <= needle.last; ++i)
        if (text[i] != needle.bytes[i]) return false;
    return true;
}

/// The first of `n` places of a text, from `from` on, at which the needle stands, or n. Both ends of it are looked for
/// at many places at once; the last halves overlap others, so that nothing is read beyond the text.
QVO_INLINE size_t place_of(const char* text, size_t from, size_t n, const Needle& needle) {
    const char first = needle.bytes[0], last = needle.bytes[needle.last];
    if (n < half) {
        while (from < n && !stands_at(text + from, needle)) ++from;
        return from;
    }
    for (size_t at = from; at < n; at += 2 * half) {
        const size_t low = std::min(at, n - half), high = std::min(at + half, n - half);
        uint32_t both = equal_bytes(text + low, text + high, first) &
                        equal_bytes(text + low + needle.last, text + high + needle.last, last);
        for (; both != 0; both &= both - 1) {
            const auto bit = static_cast<size_t>(std::countr_zero(both));
            const size_t place = bit < half ? low + bit : high + bit - half;
            if (place >= from && stands_at(text + place, needle)) return place;
        }
    }
    return n;
}

// The matcher's own search moves on by the byte under the needle's last one. Byte 255 may lead it past the needle, and a
// zero byte may end it; it finds the first place if neither comes before the end of that.
constexpr bool is_plain(char byte) { return byte != '\0' && byte != '\xff'; }

QVO_INLINE bool is_plain(const char* text, size_t n) {
    size_t i = 0;
    if (n >= run_word) {
        uint64_t odd = 0;
        for (size_t from = 0; from < n; from += run_word) {
            const uint64_t word = load_word(reinterpret_cast<const uint8_t*>(text) + std::min(from, n - run_word));
            odd |= ((word - ones_word) & ~word) | ((~word - ones_word) & word);
        }
        return (odd & (ones_word << 7)) == 0;
    }
    while (i < n && is_plain(text[i])) ++i;
    return i == n;
}

/// The matcher's own search.
[[gnu::noinline]] bool search(const qvo_seq_match_context_t& context, const char* string) {
    const char* const needle = context.pattern + 1;
    const int last = context.pn - 3;  // of the needle
    for (int end = last; end < context.elem_size && string[end] != '\0';) {
        int k = last;
        while (needle[k] == string[end - last + k])
            if (k-- == 0) return true;
        const unsigned shift = context.shift[static_cast<uint8_t>(string[end])];
        end += shift != 0 ? static_cast<int>(shift) : 1;  // the entry of byte 255 may be anything
    }
    return false;
}

enum class Found { no, yes, perhaps };

/// Whether the matcher's search would find the needle, as far as that is known without it.
QVO_INLINE Found find(const char* text, size_t n_places, Needle needle) {
    const size_t place = place_of(text, 0, n_places, needle);
    if (place == n_places) return Found::no;
    return is_plain(text, place + needle.last + 1) ? Found::yes : Found::perhaps;
}

// ---- Tiles ----

/// The match of string i of the operand's tile. A wide string far on would go beyond the tile: it ends there.
QVO_INLINE bool match_one(qvo_seq_match_context_t& context, const char* tile, size_t i) {
    const int width = context.elem_size;
    context.elem_size = std::min(width, static_cast<int>(payload_bytes - i));
    const bool matches = context.match(&context, tile + i) != 0;
    context.elem_size = width;
    return matches;
}

/// Strings of one byte: each byte is matched once and looked up from there on; a substring of one byte is compared.
void match_bytes(const qvo_seq_match_context_t& context, const char* tile, qvo_seq_bool* out, size_t to, size_t n) {
    if (context.match == qvo_seq_match_substring && context.pn == 3) {
        const char byte = context.pattern[1];
        for (size_t i = to; i < to + n; ++i) out[i] = tile[i] == byte && byte != '\0';
        return;
    }
    qvo_seq_bool matches[256];
    for (unsigned byte = 0; byte < sizeof matches; ++byte) {
        const char string = static_cast<char>(byte);
        matches[byte] = context.match(&context, &string) != 0;
    }
    for (size_t i = to; i < to + n; ++i) out[i] = matches[static_cast<uint8_t>(tile[i])];
}

/// Substring matches. Strings overlap: a place of the needle answers for all strings that reach it and begin after the
/// place before it. The matcher's search is needed for those that are not plain up to the end of the place.
void match_places(qvo_seq_match_context_t& context, const char* tile, qvo_seq_bool* out, size_t to, size_t n) {
    const Needle needle(context);
    const size_t end = to + n, width = static_cast<size_t>(context.elem_size);
    const size_t text_end = std::min(end - 1 + width, payload_bytes);
    const size_t n_places = width > needle.last && text_end > needle.last ? text_end - needle.last : 0;
    size_t seen = to, plain = to;  // what was seen is plain from here on
    for (size_t i = to; i < end;) {
        const size_t place = i < n_places ? place_of(tile, i, n_places, needle) : n_places;
        const size_t place_end = place + needle.last + 1;
        const size_t reach = place >= n_places ? end : std::clamp(place_end - std::min(place_end, width), i, end);
        std::memset(out + i, 0, reach - i);
        if (reach == end) break;
        for (seen = std::max(seen, reach); seen < place_end; ++seen)
            if (!is_plain(tile[seen])) plain = seen + 1;
        const size_t last = std::min(place + 1, end);
        for (i = reach; i < std::min(plain, last); ++i) out[i] = match_one(context, tile, i);
        std::memset(out + i, 1, last - i);
        i = last;
    }
}

/// Matches for result elements to .. to+n-1. Deliberate: strings lie as far apart as the elements of the result, one
/// byte, and are counted from the front of the operand's tile by the elements of this call, wherever the operand is.
void match_elements(qvo_seq_iterator_h it, size_t to, const uint8_t*, size_t /*from*/, size_t n) {
    qvo_seq_match_context_t& context = state<qvo_seq_match_context_t>(it);
    const char* const tile = values_of<char>(it->opd[0]);
    qvo_seq_bool* const out = values_of<qvo_seq_bool>(it);
    if (context.elem_size == 1 && n >= fewest_for_table) return match_bytes(context, tile, out, to, n);
    if (context.match == qvo_seq_match_substring && context.pn > 2) return match_places(context, tile, out, to, n);
    for (size_t i = to; i < to + n; ++i) out[i] = match_one(context, tile, i);
}

}  // namespace

extern "C" {

QVO_API qvo_bool qvo_seq_exact_match(const qvo_seq_match_context_t* ctx, const char* str) {
    const auto width = static_cast<size_t>(ctx->elem_size);
    if (width != 0 && *str != *ctx->pattern) return 0;  // most often, and without a call
    return std::strncmp(str, ctx->pattern, width) == 0 && strnlen(ctx->pattern, width + 1) <= width;
}

QVO_API qvo_bool qvo_seq_match_substring(const qvo_seq_match_context_t* ctx, const char* str) {
    const int last = ctx->pn - 3;  // of the needle
    if (last < 0) return 1;
    if (const int n_places = ctx->elem_size - last; n_places >= static_cast<int>(half)) {
        const Found found = find(str, static_cast<size_t>(n_places), Needle(*ctx));
        if (found != Found::perhaps) return found == Found::yes;
    }
    return search(*ctx, str);
}

QVO_API qvo_bool qvo_seq_match_regex(const qvo_seq_match_context_t* ctx, const char* str) {
    const char* const pattern = ctx->pattern;
    const int n = ctx->pn;
    int pi = 0, si = 0;
    int wildcard = -1, from = -1;  // after the last % met, and where the string goes on that it is tried on
    for (;;) {
        if (pi < n && pattern[pi] == '%') {
            wildcard = ++pi;
            from = si;
            if (pi == n) return 1;  // any rest will do
            continue;
        }
        if (si == ctx->elem_size || str[si] == '\0') return pi == n || pattern[pi] == '\0';
        if (pi + 1 < n && pattern[pi] == '\\' && pattern[pi + 1] == str[si]) {
            pi += 2;
            ++si;
        } else if (pi < n && pattern[pi] != '\\' && (pattern[pi] == str[si] || pattern[pi] == '_')) {
            ++pi;
            ++si;
        } else {
            if (wildcard < 0) return 0;
            si = ++from;
            pi = wildcard;
        }
    }
}

QVO_API QVO_RET qvo_seq_match_next(qvo_seq_iterator_h iterator) {
    return elements_next(iterator, match_elements, Where::here(), Operand::Values::in_tile);
}

QVO_API QVO_RET qvo_seq_match(qvo_seq_iterator_h result, qvo_seq_iterator_h input, const char* pattern) {
    if (const QVO_RET rc = construct_typed(result, input, QVO_DD_CHAR, layout_of<elem_bool>, qvo_seq_match_next);
        rc != QVO_S_OK)
        return rc;

    const auto [length, wildcards] = scan_pattern(pattern);
    qvo_seq_match_context_t& context = state<qvo_seq_match_context_t>(result);
    context.pattern = pattern;
    context.pn = length;
    context.elem_size = input->elem_size;
    if (wildcards == 2 && pattern[0] == '%' && pattern[length - 1] == '%') {
        fill_shifts(context);
        context.match = qvo_seq_match_substring;
    } else {
        context.match = wildcards == 0 ? qvo_seq_exact_match : qvo_seq_match_regex;
    }
    return QVO_S_OK;
}

}  // extern "C"

}  // namespace qvo
