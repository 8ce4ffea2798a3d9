/* The type qvoseq. */
#ifndef QVO_POSTGRES_TYPE_H
#define QVO_POSTGRES_TYPE_H

#include "postgres.h"

/* Whether it is qvoseq or qvoseq_state, under whatever name and in whatever schema. */
bool is_own_type(Oid type);

#endif
