/* The source of docs/sources.md. */
#include <qvohost.h>
#include <qvoseq.h>
#include <stdio.h>
#include <string.h>

#include "sources_shown.h"

int main(void) {
    enum { MANY = 3000 };
    static change_t changes[MANY] = {{7, 900}, {9, 0}, {11, 100}};
    const double mean = mean_level(changes, 3);
    printf("mean level %g\n", mean);
    for (int i = 0; i < MANY; ++i) changes[i] = (change_t){i, (uint32_t)i % 1000};
    static gauge_t gauge;
    qvo_seq_iterator_h source = gauge_open(&gauge, changes, MANY);
    int well = keeps_the_rules(source) && source->next_seq_no == MANY / 1000 * (999 * 1000 / 2);
    well = well && source->reset(source) == QVO_S_OK && source->next(source) == QVO_S_OK && source->next_seq_no > 0;
    well = well && source->reset(source) == QVO_S_OK && source->next_seq_no == 0 && keeps_the_rules(source);
    return well && mean == (900 * 7 + 100 * 11) / 1000.0 && mean_level(NULL, 0) == -1 ? 0 : 1;
}
