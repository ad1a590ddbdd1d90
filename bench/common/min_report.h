// A console reporter that also keeps each benchmark's fastest repetition, so that ratios read
// after a run with --benchmark_repetitions=N compare best against best. The machine is shared:
// CPU time, not wall time, and the minimum is the figure least disturbed by other load.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace bench {

class MinReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const auto& r : runs) {
      if (r.run_type != Run::RT_Iteration || r.error_occurred) continue;
      const std::string name = r.benchmark_name();
      const double t = r.GetAdjustedCPUTime();
      auto it = ns_.find(name);
      if (it == ns_.end() || t < it->second) {
        ns_[name] = t;
        for (const auto& c : r.counters) counters_[name][c.first] = c.second;
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }
  bool has(const std::string& name) const { return ns_.count(name) != 0; }
  double ns(const std::string& name) const { return ns_.at(name); }
  double counter(const std::string& name, const std::string& key) const {
    auto it = counters_.find(name);
    if (it == counters_.end()) return 0;
    auto c = it->second.find(key);
    return c == it->second.end() ? 0 : double(c->second);
  }
  // Prints ref / ours, and whether it reaches `need` (0: no target).
  void ratio(const std::string& what, const std::string& ref, const std::string& ours, double need) const {
    if (!has(ref) || !has(ours)) return;
    const double r = ns(ref) / ns(ours);
    if (need > 0)
      std::printf("  %-46s %6.2fx  (need >= %.1fx: %s)\n", what.c_str(), r, need, r >= need ? "met" : "NOT met");
    else
      std::printf("  %-46s %6.2fx\n", what.c_str(), r);
  }

 private:
  std::map<std::string, double> ns_;
  std::map<std::string, std::map<std::string, benchmark::Counter>> counters_;
};

}  // namespace bench
