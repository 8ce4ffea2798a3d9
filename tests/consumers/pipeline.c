/* What a program outside of this project does with the installed library: the pipeline of the README. */
#include <qvohost.h>
#include <qvoseq.h>
#include <stdio.h>

double mean_price(qvo_double* prices, qvo_int4* volumes, qvo_size_t n);

double mean_price(qvo_double* prices, qvo_int4* volumes, qvo_size_t n) {
    qvo_seq_iterator_t price, volume, limit, condition, kept, mean;
    qvo_double result = 0;
    qvo_seq_unget_double(&price, prices, n);
    qvo_seq_unget_int4(&volume, volumes, n);
    qvo_seq_const_int4(&limit, 1000);
    qvo_seq_gt_int4(&condition, &volume, &limit);
    qvo_seq_filter_double(&kept, &condition, &price);
    qvo_seq_agg_avg_double(&mean, &kept);
    return qvo_seq_next_double(&mean, &result) == QVO_S_OK ? result : 0;
}

int main(void) {
    qvo_double prices[] = {10.0, 20.0, 30.0, 40.0};
    qvo_int4 volumes[] = {500, 1500, 1000, 2500};
    const double mean = mean_price(prices, volumes, 4);
    printf("mean price %g, binding check %d\n", mean, qvo_seq_check_bindings);
    return mean == 30.0 ? 0 : 1;
}
