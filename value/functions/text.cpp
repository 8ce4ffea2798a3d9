// Functions of text.
#include <cstring>

#include "evaluate/arguments.h"
#include "functions/catalog.h"
#include "operators/elementwise.h"

namespace qvo::value {
namespace {

/// The bytes of the character that begins at `at`.
size_t character(const char* at, const char* end) {
    const char* next = at + 1;
    while (next != end && (*next & 0xc0) == 0x80) ++next;
    return static_cast<size_t>(next - at);
}

/// Tries the pattern from the left; where it fails, the last % takes one character more.
bool matches(std::string_view text, std::string_view pattern) {
    const char *t = text.data(), *p = pattern.data(), *const t_end = t + text.size(), *const p_end = p + pattern.size();
    const char *star = nullptr, *tried = nullptr;
    while (t != t_end) {
        if (p != p_end && *p == '%') {
            star = ++p;
            tried = t;
        } else if (p != p_end && *p == '_') {
            ++p;
            t += character(t, t_end);
        } else if (p != p_end && *p == *t) {
            ++p;
            ++t;
        } else if (star != nullptr) {
            tried += character(tried, t_end);
            p = star;
            t = tried;
        } else {
            return false;
        }
    }
    while (p != p_end && *p == '%') ++p;
    return p == p_end;
}

struct Pattern {
    std::string_view pattern;
    std::string_view needle;  // of a pattern %needle%
    size_t width;

    static LoopFault run(const Batch& batch, const void* operation) {
        const Pattern& like = *static_cast<const Pattern*>(operation);
        const char* at = static_cast<const char*>(batch.in[0]);
        auto* const out = static_cast<uint8_t*>(batch.out);
        for (size_t i = 0; i < batch.n; ++i, at += like.width) {
            const std::string_view text(at, strnlen(at, like.width));
            out[i] = like.needle.empty() ? matches(text, like.pattern) : text.find(like.needle) != text.npos;
        }
        return {};
    }
};

Series like(Plan& plan, Arguments& a) {
    const Series x = a.series(0);
    Pattern loop{a.text(1), {}, x.type.width};
    if (loop.pattern.size() > 2 && loop.pattern.front() == '%' && loop.pattern.back() == '%') {
        const std::string_view inner = loop.pattern.substr(1, loop.pattern.size() - 2);
        if (inner.find_first_of("%_") == inner.npos) loop.needle = inner;
    }
    return elementwise(plan, {Type::boolean, 1}, std::span(&x, 1), Pattern::run, &loop, sizeof loop);
}

const Function functions[] = {
    {.name = "like",
     .group = Group::element_wise,
     .summary = "True where the text matches a pattern.",
     .parameters = {{"x", Takes::sequence, Of::text}, {"pattern", Takes::text}},
     .result = "boolean",
     .rule =
         "% stands for any text, also none, _ for one character; the case of all letters counts. There is no escape "
         "character.",
     .example = {"like(['sun', 'rain'], 's%')", "[true,false]"},
     .build = like},
};

}  // namespace

std::span<const Function> text_functions() { return functions; }

}  // namespace qvo::value
