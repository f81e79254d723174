// The benchmark program: runs every registered benchmark, then prints comparison tables for
// the benchmarks named "<family>/<implementation>/<case>": ns per call of each implementation
// and the ratio of libhw's time to each other implementation's.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace {

class TableReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run> &runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run &r : runs) {
            const std::string name = r.benchmark_name();
            const size_t a = name.find('/'), b = a == std::string::npos ? a : name.find('/', a + 1);
            if (b == std::string::npos || r.run_type != Run::RT_Iteration) continue;
            Family &f = families_[name.substr(0, a)];
            const std::string impl = name.substr(a + 1, b - a - 1), key = name.substr(b + 1);
            if (!f.ns.count(key)) f.cases.push_back(key);
            if (f.ns[key].find(impl) == f.ns[key].end() && !contains(f.impls, impl)) f.impls.push_back(impl);
            // With repetitions the row keeps the best one.
            const double ns = r.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(r.time_unit) * 1e9;
            const auto seen = f.ns[key].find(impl);
            if (seen == f.ns[key].end() || ns < seen->second) f.ns[key][impl] = ns;
        }
    }

    void Finalize() override {
        ConsoleReporter::Finalize();
        for (const auto &[family, f] : families_) {
            if (!contains(f.impls, "libhw")) continue;  // not a comparison family
            std::printf("\n%s: ns per call", family.c_str());
            std::printf("\n%-14s", "case");
            for (const std::string &impl : f.impls) std::printf(" %14s", impl.c_str());
            for (const std::string &impl : f.impls)
                if (impl != "libhw" && impl != "copy_only") std::printf(" %18s", ("libhw/" + impl).c_str());
            std::printf("\n");
            for (const std::string &key : f.cases) {
                const auto &row = f.ns.at(key);
                std::printf("%-14s", key.c_str());
                for (const std::string &impl : f.impls) {
                    const auto it = row.find(impl);
                    it == row.end() ? std::printf(" %14s", "-") : std::printf(" %14.1f", it->second);
                }
                for (const std::string &impl : f.impls) {
                    if (impl == "libhw" || impl == "copy_only") continue;
                    const auto hw = row.find("libhw"), other = row.find(impl);
                    if (hw == row.end() || other == row.end()) std::printf(" %18s", "-");
                    else std::printf(" %18.2f", hw->second / other->second);
                }
                std::printf("\n");
            }
        }
    }

  private:
    struct Family {
        std::vector<std::string> impls, cases;
        std::map<std::string, std::map<std::string, double>> ns;
    };
    static bool contains(const std::vector<std::string> &v, const std::string &s) {
        for (const std::string &x : v)
            if (x == s) return true;
        return false;
    }
    std::map<std::string, Family> families_;
};

}  // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    TableReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
