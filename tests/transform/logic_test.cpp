// Boolean logic: every member against a model.
#include "support/protocol.h"

namespace test {
namespace {

qvo_seq_bool draw_bool(Random& random) {
    return random.chance(80) ? static_cast<qvo_seq_bool>(random.below(2)) : random.value<qvo_seq_bool>();
}

#define TEST_BINARY(name, op)     \
    check_binary<t_bool, t_bool>( \
        #name, name, name##_qvo_seq_bool_next, [](unsigned a, unsigned b) { return a op b; }, draw_bool);

TEST(Logic, WorksOnTheBytes){TEST_BINARY(qvo_seq_and, &) TEST_BINARY(qvo_seq_or, |) TEST_BINARY(qvo_seq_xor, ^)}

TEST(Logic, NotTakesWholeElementsWhereverTheReaderStands_deliberate) {
    check_unary<t_bool, t_bool>(
        "qvo_seq_not", qvo_seq_not, qvo_seq_not_qvo_seq_bool_next, [](unsigned v) { return v == 0; }, draw_bool);
}

}  // namespace
}  // namespace test
