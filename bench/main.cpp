// The benchmark program. After Google Benchmark's own lines it prints a table of ratios: a line per family and type,
// a column per shape, each cell the time per element as a multiple of that of the plain loop ("flat"), with the
// positions per second where runs make them more than the elements. With repetitions the medians are taken.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace {

struct Rates {
    double elements, positions;
};

class RatioReporter : public benchmark::ConsoleReporter {
 public:
    void ReportRuns(const std::vector<Run>& reports) override {
        ConsoleReporter::ReportRuns(reports);
        for (const Run& run : reports) {
            failed_ |= run.error_occurred;
            const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            if (run.error_occurred || (!median && run.run_type == Run::RT_Aggregate)) continue;
            const auto elements = run.counters.find("elements"), positions = run.counters.find("positions");
            if (elements == run.counters.end() || positions == run.counters.end()) continue;
            const std::string& name = run.run_name.function_name;
            const size_t slash = name.rfind('/');
            if (slash == std::string::npos) continue;
            const std::string group = name.substr(0, slash), shape = name.substr(slash + 1);
            if (rates_.find(group) == rates_.end()) groups_.push_back(group);
            auto& shapes = rates_[group];
            const auto at = shapes.find(shape);
            if (at == shapes.end()) order_[group].push_back(shape);
            if (at == shapes.end() || median) shapes[shape] = {elements->second.value, positions->second.value};
        }
    }

    void PrintTable() const {
        std::printf("\nTime per element as a multiple of the plain loop over flat arrays; positions per second.\n\n");
        for (const std::string& group : groups_) {
            const auto& shapes = rates_.at(group);
            const auto flat = shapes.find("flat");
            std::printf("%-28s", group.c_str());
            if (flat != shapes.end()) std::printf("  flat %6.2f G/s", flat->second.elements / 1e9);
            for (const std::string& shape : order_.at(group)) {
                if (shape == "flat") continue;
                const Rates& rates = shapes.at(shape);
                std::printf("  %s", shape.c_str());
                if (flat != shapes.end())
                    std::printf(" %.2fx", flat->second.elements / rates.elements);
                else
                    std::printf(" %.3f G/s", rates.elements / 1e9);
                if (rates.positions > 1.5 * rates.elements) std::printf(" (%.2f G/s)", rates.positions / 1e9);
            }
            std::printf("\n");
        }
    }

    bool failed() const { return failed_; }

 private:
    std::vector<std::string> groups_;
    std::map<std::string, std::vector<std::string>> order_;
    std::map<std::string, std::map<std::string, Rates>> rates_;
    bool failed_ = false;
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintTable();
    return reporter.failed() ? 1 : 0;
}
