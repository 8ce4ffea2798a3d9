// Strings that match a pattern with % (any bytes), _ (one byte) and backslash escapes.
//
// The constructor looks at the pattern and picks one of three matchers. The matchers end a string at its first zero
// byte or at the width, and never look at the pattern after the byte that decides.
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

/// Matches for result elements to .. to+n-1. Deliberate: strings lie as far apart as the elements of the result, one
/// byte, and are counted from the front of the operand's tile by the elements of this call, wherever the operand is.
void match_elements(qvo_seq_iterator_h it, size_t to, size_t /*from*/, size_t n) {
    qvo_seq_match_context_t& context = state<qvo_seq_match_context_t>(it);
    const char* const tile = values_of<char>(it->opd[0]);
    qvo_seq_bool* const out = values_of<qvo_seq_bool>(it);
    const int width = context.elem_size;
    if (width == 1 && n >= fewest_for_table) {
        qvo_seq_bool matches[256];
        for (unsigned byte = 0; byte < sizeof matches; ++byte) {
            const char string = static_cast<char>(byte);
            matches[byte] = context.match(&context, &string) != 0;
        }
        for (size_t i = to; i < to + n; ++i) out[i] = matches[static_cast<uint8_t>(tile[i])];
        return;
    }
    for (size_t i = to; i < to + n; ++i) {
        // A wide string far on would go beyond the tile: it ends there.
        context.elem_size = std::min(width, static_cast<int>(payload_bytes - i));
        out[i] = context.match(&context, tile + i) != 0;
    }
    context.elem_size = width;
}

}  // namespace

extern "C" {

QVO_API qvo_bool qvo_seq_exact_match(const qvo_seq_match_context_t* ctx, const char* str) {
    for (int i = 0; i < ctx->elem_size; ++i) {
        if (str[i] != ctx->pattern[i]) return 0;
        if (str[i] == '\0') return 1;
    }
    return ctx->pattern[ctx->elem_size] == '\0';
}

QVO_API qvo_bool qvo_seq_match_substring(const qvo_seq_match_context_t* ctx, const char* str) {
    const char* const needle = ctx->pattern + 1;
    const int last = ctx->pn - 3;  // of the needle
    if (last < 0) return 1;
    for (int end = last; end < ctx->elem_size && str[end] != '\0';) {
        int k = last;
        while (needle[k] == str[end - last + k])
            if (k-- == 0) return 1;
        const unsigned shift = ctx->shift[static_cast<uint8_t>(str[end])];
        end += shift != 0 ? static_cast<int>(shift) : 1;  // the entry of byte 255 may be anything
    }
    return 0;
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
    return elements_next(iterator, match_elements, Where::here());
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
