// Substring patterns over strings with zero bytes and byte 255, which the search steps over or is led astray by: the
// matcher, and the operator over tiles, against the search step by step.
#include "support/protocol.h"

namespace test {
namespace {

/// Moves on by the byte under the needle's last one.
bool model(const qvo_seq_match_context_t& context, const std::string& string) {
    const std::string needle(context.pattern + 1, static_cast<size_t>(context.pn) - 2);
    for (size_t end = needle.size() - 1; end < string.size() && string[end] != '\0';) {
        if (string.compare(end + 1 - needle.size(), needle.size(), needle) == 0) return true;
        end += std::max<size_t>(1, context.shift[static_cast<uint8_t>(string[end])]);
    }
    return false;
}

std::string random_bytes(Random& random, const std::string& letters, size_t n) {
    std::string text;
    while (text.size() < n) text += letters[random.below(static_cast<unsigned>(letters.size()))];
    return text;
}

TEST(Substring, LikeTheSearchStepByStep_deliberate) {
    const std::string alphabets[] = {"ab", "abcdefgh", "aab" + std::string(1, '\0'), "abc\xff",
                                     std::string("abcdef\0\xff", 8)};
    for (unsigned seed = 0; seed < 600; ++seed) {
        Random random(seed);
        const std::string& letters = alphabets[random.below(std::size(alphabets))];
        std::string needle = random_bytes(random, letters, random.between(1, seed % 4 == 0 ? 30 : 4));
        std::replace(needle.begin(), needle.end(), '\0', 'a');
        const std::string pattern = "%" + needle + "%";
        const size_t width = random.between(1, seed % 3 == 0 ? 1500 : 70);
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", width " << width << ", needle " << needle);

        Items<t_char> strings(random.between(1, static_cast<unsigned>(capacity_of(width))));
        for (auto& string : strings) string.value = random_bytes(random, letters, width);
        Source source(t_char{}, strings, {}, width);
        Record it;
        std::memset(it->context, static_cast<int>(random.below(5)), sizeof it->context);
        ASSERT_EQ(qvo_seq_match(it.get(), source.get(), pattern.c_str()), QVO_S_OK);
        const auto& context = *reinterpret_cast<const qvo_seq_match_context_t*>(it->context);
        for (size_t i = 0; i < std::min<size_t>(strings.size(), 30); ++i) {
            const std::vector<char> exact(strings[i].value.begin(), strings[i].value.end());
            ASSERT_EQ(context.match(&context, exact.data()) != 0, model(context, strings[i].value)) << "string " << i;
        }
        ASSERT_EQ(it->next(it.get()), QVO_S_OK);
        for (size_t i = 0; i < it->tile_size; ++i)
            ASSERT_EQ(it->tile.u.arr_uint1[i] != 0,
                      model(context,
                            std::string(source->tile.u.arr_char + i, std::min(width, sizeof(qvo_seq_payload_t) - i))))
                << "element " << i;
    }
}

}  // namespace
}  // namespace test
