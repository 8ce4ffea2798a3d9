/* What a program outside of this project does with the installed library: the pipeline of the README. */
#include <qvohost.h>
#include <stdio.h>

#include "qvoseq_shown.h"

int main(void) {
    qvo_double prices[] = {10.0, 20.0, 30.0, 40.0};
    qvo_int4 volumes[] = {500, 1500, 1000, 2500};
    const double mean = mean_price(prices, volumes, 4);
    printf("mean price %g, binding check %d\n", mean, qvo_seq_check_bindings);
    return mean == 30.0 ? 0 : 1;
}
