// What counting needs to know of a hash aggregate.
#pragma once

#include "qvowseq.h"

namespace qvo {

/// True if the iterator is one of the two results of a hash aggregate.
bool is_hash_aggregate(qvo_seq_iterator_h it);

/// The number of groups of such an iterator's table; 0 before it is built.
uint64_t hash_entries(qvo_seq_iterator_h it);

}  // namespace qvo
