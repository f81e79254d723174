// The benchmark program: runs every registered benchmark, then prints comparison tables for
// the benchmarks named "<family>/<implementation>/<case>": ns per call of each implementation
// (the best of the repetitions) and the ratio of libhw's time to each other implementation's.
// --table_json=FILE also writes the tables, with the date and the machine, as JSON for
// scripts/bench-chart.py.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

class TableReporter : public benchmark::ConsoleReporter {
  public:
    explicit TableReporter(std::string json_path) : json_path_(std::move(json_path)) {}

    bool ReportContext(const Context &context) override {
        cores_ = context.cpu_info.num_cpus;
        mhz_ = context.cpu_info.cycles_per_second / 1e6;
        return ConsoleReporter::ReportContext(context);
    }

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
            const double ns = r.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(r.time_unit) * 1e9;
            const auto seen = f.ns[key].find(impl);
            f.ns[key][impl] = seen == f.ns[key].end() ? ns : std::min(seen->second, ns);
        }
    }

    void Finalize() override {
        ConsoleReporter::Finalize();
        for (auto &family : families_) put_in_order(family.second);
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
        if (!json_path_.empty()) write_json();
    }

  private:
    struct Family;

    // Interleaved repetitions run the cases in any order: columns libhw, the references by
    // name, copy_only; rows by the size their name starts with.
    static void put_in_order(Family &f) {
        const auto column = [](const std::string &impl) {
            return std::make_pair(impl == "libhw" ? 0 : impl == "copy_only" ? 2 : 1, impl);
        };
        std::sort(f.impls.begin(), f.impls.end(),
                  [&](const std::string &a, const std::string &b) { return column(a) < column(b); });
        const auto row = [](const std::string &key) {
            return std::make_pair(std::strtoull(key.c_str(), nullptr, 10), key);
        };
        std::sort(f.cases.begin(), f.cases.end(),
                  [&](const std::string &a, const std::string &b) { return row(a) < row(b); });
    }

    // {"date", "machine": {"cpu", "cores", "mhz"}, "families": [{"name", "implementations",
    //  "cases": [{"case", "ns": {implementation: ns}}]}]}, comparison families only.
    void write_json() const {
        std::ofstream out(json_path_);
        char date[32];
        const std::time_t now = std::time(nullptr);
        std::strftime(date, sizeof date, "%Y-%m-%d %H:%M UTC", std::gmtime(&now));
        out << "{\n  \"date\": \"" << date << "\",\n  \"machine\": {\"cpu\": \"" << cpu_model()
            << "\", \"cores\": " << cores_ << ", \"mhz\": " << static_cast<long>(mhz_) << "},\n  \"families\": [";
        const char *separator = "";
        for (const auto &[family, f] : families_) {
            if (!contains(f.impls, "libhw")) continue;
            out << separator << "\n    {\"name\": \"" << family << "\", \"implementations\": [";
            for (size_t i = 0; i < f.impls.size(); ++i) out << (i ? ", " : "") << '"' << f.impls[i] << '"';
            out << "], \"cases\": [";
            for (size_t c = 0; c < f.cases.size(); ++c) {
                out << (c ? "," : "") << "\n      {\"case\": \"" << f.cases[c] << "\", \"ns\": {";
                const char *comma = "";
                for (const auto &[impl, ns] : f.ns.at(f.cases[c])) {
                    out << comma << '"' << impl << "\": " << ns;
                    comma = ", ";
                }
                out << "}}";
            }
            out << "]}";
            separator = ",";
        }
        out << "\n  ]\n}\n";
        std::printf("\ntables written to %s\n", json_path_.c_str());
    }

    static std::string cpu_model() {
        std::ifstream cpuinfo("/proc/cpuinfo");
        std::string line;
        while (std::getline(cpuinfo, line))
            if (line.rfind("model name", 0) == 0) {
                std::string model = line.substr(line.find(':') + 2);
                model.erase(std::remove(model.begin(), model.end(), '"'), model.end());
                return model;
            }
        return "unknown";
    }

    std::string json_path_;
    int cores_ = 0;
    double mhz_ = 0;
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
    std::string json_path;
    const char *const flag = "--table_json=";
    for (int i = 1; i < argc; ++i)
        if (std::strncmp(argv[i], flag, std::strlen(flag)) == 0) {
            json_path = argv[i] + std::strlen(flag);
            std::copy(argv + i + 1, argv + argc, argv + i);
            --argc;
            break;
        }
    benchmark::Initialize(&argc, argv);
    TableReporter reporter(json_path);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
