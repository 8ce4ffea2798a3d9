#include "evaluate/deliver.h"

namespace qvo::value {

Buffer to_stored(Plan& plan, const Series& series, WriterOptions options) {
    ValueType type = series.type;
    Writer writer(type, options);
    for_each_tile(plan, series,
                  [&](const void* values, const uint8_t* runs, size_t n) { writer.put(values, runs, n); });
    return writer.finish();
}

}  // namespace qvo::value
