/* What a program outside of this project does with the installed library: the mean of the sums of two columns. */
#include <qvohost.h>
#include <qvoseq.h>
#include <stdio.h>

int main(void) {
    qvo_int4 left[] = {1, 2, 3, 4}, right[] = {10, 20, 30, 40};
    qvo_seq_iterator_t a, b, sum;
    qvo_int4 value;
    int total = 0;

    if (qvo_seq_unget_int4(&a, left, 4) != QVO_S_OK || qvo_seq_unget_int4(&b, right, 4) != QVO_S_OK) return 1;
    if (qvo_seq_add_int4(&sum, &a, &b) != QVO_S_OK) return 1;
    while (qvo_seq_next_int4(&sum, &value) == QVO_S_OK) total += value;
    printf("total %d, binding check %d\n", total, qvo_seq_check_bindings);
    return total == 110 ? 0 : 1;
}
