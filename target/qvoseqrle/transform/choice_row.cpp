#include "transform/choice_row.h"

#include "core/rank.h"

namespace qvo {

#if QVO_WIDE_X86
namespace {

constexpr size_t most_conditions = ChoiceRow::most_conditions, some = ranked, n_words = most_conditions / some;
static_assert(some <= ChoiceRow::most_at_once);

constexpr std::array<uint8_t, some> numbers_down = [] {
    std::array<uint8_t, some> all{};
    for (size_t i = 0; i < some; ++i) all[i] = static_cast<uint8_t>(some - 1 - i);
    return all;
}();

QVO_INLINE uint32_t first_bits(size_t n) { return ~uint32_t{0} >> (some - std::min(n, some)); }

/// The conditions that choose a side.
struct Chooser {
    static constexpr size_t room = most_conditions + some;  // what lies beyond the last one is looked at
    uint8_t runs[room] = {};                                // the first one last, as in a tile
    uint32_t chosen[n_words + 1] = {};                      // a bit for each of all conditions
    uint16_t end[1 + room];                                 // steps before each of them
    size_t n = 0, n_complete = 0;

    /// Appends those of 32 conditions, the runs of which come in order.
    QVO_AVX512 void append(size_t word, uint32_t bits, const __m256i& in_order, const __m256i& reversing) {
        const __m256i kept = _mm256_maskz_compress_epi8(bits, in_order);
        n += static_cast<size_t>(_mm_popcnt_u32(bits));
        const auto to =
            reinterpret_cast<__m256i*>(runs + room - n - (some - static_cast<size_t>(_mm_popcnt_u32(bits))));
        _mm256_storeu_si256(to, _mm256_maskz_permutexvar_epi8(~uint32_t{0}, reversing, kept));
        chosen[word] = bits;
    }
    /// How many there are among the first conditions.
    QVO_AVX512 size_t count_before(size_t j) const {
        size_t count = 0;
        for (size_t word = 0; word < j / some; ++word) count += static_cast<size_t>(_mm_popcnt_u32(chosen[word]));
        return count +
               static_cast<size_t>(_mm_popcnt_u32(_bzhi_u32(chosen[j / some], static_cast<uint32_t>(j % some))));
    }
    /// Where among all conditions the k-th of them is.
    QVO_AVX512 size_t place(size_t k) const {
        size_t word = 0;
        for (size_t here; k >= (here = static_cast<size_t>(_mm_popcnt_u32(chosen[word]))); ++word) k -= here;
        return word * some + _tzcnt_u32(_pdep_u32(1U << k, chosen[word]));
    }
    /// Crosses them with the elements of the side but the last one, which it moves on to the end of the row; positions
    /// of the first condition have been taken. A condition ends with the step that the next one follows.
    QVO_AVX512 void cross(unsigned taken, const Operand& elements, ChoiceRow::Side& side) {
        end[0] = 0;
        if (n == 0) return;
        CrossingSide crossing[] = {{runs + room - 1, 0, n, taken},
                                   {elements.runs(), elements.index(), elements.elements_left() - 1, elements.taken()}};
        const CrossingRow<2> row{{side.condition, side.element}, side.run, ChoiceRow::most_of_side};
        const size_t n_steps = cross_runs(row, crossing).elements;
        for (size_t i = 0; i < n_steps; i += some) {
            const __m512i now = _mm512_loadu_si512(side.condition + i);
            const __m512i next = _mm512_loadu_si512(side.condition + i + 1);
            const uint32_t here = first_bits(n_steps - i);
            const uint32_t ends = _mm512_cmpneq_epi16_mask(now, next) & here;
            const __m512i numbers = ranks(~0U, static_cast<unsigned>(i + 1));
            _mm512_storeu_si512(end + 1 + n_complete, _mm512_maskz_compress_epi16(ends, numbers));
            n_complete += static_cast<size_t>(_mm_popcnt_u32(ends));
        }
    }
};

/// Deals the conditions out to those who choose.
QVO_AVX512 void divide(Chooser (&choosers)[2], const uint8_t* is_true, const uint8_t* runs, size_t n) {
    const __m256i reversing = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(numbers_down.data()));
    for (size_t j = 0; j < n; j += some) {
        const __m256i values = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(is_true + j));
        const __m256i as_in_tile = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(runs - j - (some - 1)));
        const __m256i in_order = _mm256_maskz_permutexvar_epi8(~uint32_t{0}, reversing, as_in_tile);
        const uint32_t here = first_bits(n - j), trues = _mm256_test_epi8_mask(values, values);
        choosers[0].append(j / some, here & ~trues, in_order, reversing);
        choosers[1].append(j / some, here & trues, in_order, reversing);
    }
}

/// Puts the steps of both sides in the order of the conditions, up to the one given; `before` are the steps before each.
QVO_AVX512 void merge(const Chooser (&choosers)[2], size_t done, ChoiceRow& row, uint16_t* before) {
    size_t at[2] = {0, 0};
    for (size_t j = 0; j <= done; j += some) {
        const uint32_t trues = choosers[1].chosen[j / some], falses = choosers[0].chosen[j / some];
        const __m512i left =
            _mm512_maskz_permutexvar_epi16(~uint32_t{0}, ranks(trues, 0), _mm512_loadu_si512(choosers[1].end + at[1]));
        const __m512i right =
            _mm512_maskz_permutexvar_epi16(~uint32_t{0}, ranks(falses, 0), _mm512_loadu_si512(choosers[0].end + at[0]));
        _mm512_storeu_si512(before + j, _mm512_add_epi16(left, right));
        if (j == most_conditions) break;
        _mm512_storeu_si512(row.sides[0].others + at[0], _mm512_maskz_compress_epi16(falses, left));
        _mm512_storeu_si512(row.sides[1].others + at[1], _mm512_maskz_compress_epi16(trues, right));
        at[0] += static_cast<size_t>(_mm_popcnt_u32(falses));
        at[1] += static_cast<size_t>(_mm_popcnt_u32(trues));
    }
}

/// Moves a side past its steps of the row; the element that comes next is listed after them.
void move_past(const ChoiceRow::Side& side, Operand& elements) {
    if (side.n == 0) return;
    const size_t next = side.element[side.n];
    unsigned taken = next == elements.index() ? elements.taken() : 0;
    for (size_t i = side.n; i != 0 && side.element[i - 1] == next; --i) taken += side.run[i - 1];
    elements.move_to(next, taken);
}

/// Lists the next steps, which start among the first `n` conditions.
QVO_AVX512 void cross_some(Operand (&operands)[3], size_t n, size_t room, ChoiceRow& row) {
    Operand& condition = operands[0];
    const uint8_t* const is_true = values_of<uint8_t>(condition.iterator()) + condition.index();
    Chooser choosers[2];
    divide(choosers, is_true, condition.runs(), n);
    size_t done = n;
    for (size_t s = 0; s < 2; ++s) {
        Chooser& chooser = choosers[s];
        const bool is_first = (*is_true != 0) == (s != 0);
        chooser.cross(is_first ? condition.taken() : 0, operands[2 - s], row.sides[s]);
        if (chooser.n_complete < chooser.n) done = std::min(done, chooser.place(chooser.n_complete));
    }
    uint16_t before[most_conditions + some];
    merge(choosers, done, row, before);
    while (before[done] > room) --done;
    if (done == 0) return;
    for (size_t s = 0; s < 2; ++s) {
        row.sides[s].n = choosers[s].end[choosers[s].count_before(done)];
        move_past(row.sides[s], operands[2 - s]);
    }
    row.span = {before[done], sum_runs(condition.runs(), done) - condition.taken()};
    condition.move_to(condition.index() + done, 0);
}

}  // namespace

void cross_choices(Operand (&operands)[3], size_t room, ChoiceRow& row) {
    bool all_short = room >= fewest_crossings && crossings_are_cheap();
    for (const Operand& operand : operands)
        all_short = all_short && runs_are_short(operand.runs(), operand.elements_left(), operand.run_left());
    if (!all_short) return;
    const size_t n = std::min({operands[0].elements_left() - 1, most_conditions, room});
    if (std::memchr(operands[0].runs() + 1 - n, 0, n) == nullptr) cross_some(operands, n, room, row);
}
#else
void cross_choices(Operand (&)[3], size_t, ChoiceRow&) {}
#endif

}  // namespace qvo
