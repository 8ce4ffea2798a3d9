/* Functions of a program that are named as those of the library without its prefix, and do something else. */
#include <stdlib.h>

#define NAME(name)   \
    void name(void); \
    void name(void) { abort(); }
#include "names.inc"
