#include "operators/rolling.h"

#include "operators/rolling_blocks.h"
#include "operators/rolling_extremes.h"
#include "operators/rolling_narrow.h"

namespace qvo::value {
namespace {

template <class S> Series rolling(Plan& plan, const Series& x, Window window) {
    const ValueType type = type_of(Type::double_);
    const auto with = [&]<class Array>(std::type_identity<Array>) {
        if constexpr (S::Fold::repeats_change)
            return scan<Array>(plan, x, type, plan, window);
        else
            return scan<RollingExtremes<S, Array>>(plan, x, type, plan, window);
    };
    if (window.positions <= RollingNarrow<S>::widest) return with(std::type_identity<RollingNarrow<S>>());
    return with(std::type_identity<RollingBlocks<S>>());
}

}  // namespace

Series rolling_sum(Plan& plan, const Series& x, Window window) { return rolling<RollingSum>(plan, x, window); }
Series rolling_mean(Plan& plan, const Series& x, Window window) { return rolling<RollingMean>(plan, x, window); }
Series rolling_min(Plan& plan, const Series& x, Window window) { return rolling<RollingMin>(plan, x, window); }
Series rolling_max(Plan& plan, const Series& x, Window window) { return rolling<RollingMax>(plan, x, window); }
Series rolling_var(Plan& plan, const Series& x, Window window) { return rolling<RollingVar>(plan, x, window); }
Series rolling_std(Plan& plan, const Series& x, Window window) { return rolling<RollingStd>(plan, x, window); }

}  // namespace qvo::value
