/*
 * What pipelines of operators answer about a real data file: four years of daily weather in two cities.
 *
 *     weather FILE.csv
 *
 * Every question is a function: open the columns, chain operators, pull the last one. Beside each answer stand the
 * elements and the positions that the stored columns handed out for it: a run of equal values is one element.
 */
#include <stdio.h>

#include "columns.h"
#include "questions.h"
#include "report.h"

static void print_columns(const station_t* station) {
    const struct {
        const char* name;
        const column_t* column;
    } columns[] = {{"date", &station->date},   {"month", &station->month}, {"precipitation", &station->rain},
                   {"high", &station->high},   {"low", &station->low},     {"wind", &station->wind},
                   {"weather", &station->kind}};
    for (size_t i = 0; i < sizeof columns / sizeof columns[0]; ++i) {
        const column_t* column = columns[i].column;
        printf("%-10s %-14s %8zu %9zu %8.2f\n", station->name, columns[i].name, column->n_elements, column->n_positions,
               (double)column->n_positions / (double)column->n_elements);
    }
}

int main(int argc, char** argv) {
    static station_t stations[MAX_STATIONS];
    if (argc != 2) {
        fprintf(stderr, "usage: weather FILE.csv\n");
        return 2;
    }
    const size_t n_stations = load_stations(argv[1], stations);
    if (n_stations < 2) {
        fprintf(stderr, "weather: %s holds only one place\n", argv[1]);
        return 1;
    }

    printf("%-10s %-14s %8s %9s %8s\n", "Stored", "column", "elements", "positions", "mean run");
    for (size_t i = 0; i < n_stations; ++i) print_columns(&stations[i]);

    ask_about_selections(&stations[0], &stations[1]);
    ask_about_groups(&stations[0], &stations[1]);
    ask_about_order(&stations[0], &stations[1]);
    free_stations(stations, n_stations);
    return 0;
}
