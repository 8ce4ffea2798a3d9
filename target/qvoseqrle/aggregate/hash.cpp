// The two results of a hash aggregate: what they share, and reading them.
#include "aggregate/hash_count.h"
#include "core/construct.h"

namespace qvo {
namespace {

using Context = qvo_seq_hash_iterator_context_t;

}  // namespace

bool is_hash_aggregate(qvo_seq_iterator_h it) { return it->reset == qvo_seq_hash_agg_reset; }

uint64_t hash_entries(qvo_seq_iterator_h it) {
    const qvo_seq_shared_hash_t* shared = state<Context>(it).shared;
    return shared != nullptr && shared->hash != nullptr ? shared->hash->table_used : 0;
}

}  // namespace qvo

extern "C" {

double qvo_seq_hash_table_load_factor = 1.0;
qvo_size_t qvo_seq_hash_table_init_size = 1361;

QVO_RET qvo_seq_hash_agg_reset(qvo_seq_iterator_h iterator) {
    auto& context = qvo::state<qvo::Context>(iterator);
    context.curr_elem = nullptr;
    context.chain_no = 0;
    return qvo_seq_reset_iterator(iterator);
}

qvo_bool qvo_seq_is_hash_aggreate(qvo_seq_iterator_h iterator) { return qvo::is_hash_aggregate(iterator); }

}  // extern "C"
