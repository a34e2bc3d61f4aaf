// What every benchmark program prints after its run: each pair of ours and the
// peer as a ratio. The reporter keeps the console output and remembers every run's
// times per iteration, the median when runs are repeated (this machine's load
// varies: --benchmark_repetitions=5 steadies the ratios).
#pragma once
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace zxbench {

struct RunTimes {
  double real = 0;   // wall time per iteration, in the run's time unit
  double cpu = 0;    // CPU time per iteration: the fairer measure on a busy machine
  std::map<std::string, double> counters;
  double Counter(const std::string& key, double missing = -1) const {
    auto it = counters.find(key);
    return it == counters.end() ? missing : it->second;
  }
};

class RatioReporter : public benchmark::ConsoleReporter {
 public:
  // Colours only on a terminal, so that a saved run stays readable.
  RatioReporter() : ConsoleReporter(isatty(1) ? OO_Defaults : OO_None) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& r : runs) {
      if (r.error_occurred) continue;
      const std::string name = r.run_name.str();
      const bool median = r.run_type == Run::RT_Aggregate && r.aggregate_name == "median";
      if (!median && (r.run_type != Run::RT_Iteration || medians_.count(name))) continue;
      if (median) medians_.insert(name);
      RunTimes& t = times_[name];
      t.real = r.GetAdjustedRealTime();
      t.cpu = r.GetAdjustedCPUTime();
      for (const auto& [key, counter] : r.counters) t.counters[key] = counter.value;
    }
  }

  const RunTimes* Find(const std::string& name) const {
    auto it = times_.find(name);
    return it == times_.end() ? nullptr : &it->second;
  }
  const std::map<std::string, RunTimes>& All() const { return times_; }

  // Records `a` + `sign` x `b` (runs in the same time unit) as one more run named
  // `name`, so that a ratio can set a sum of runs, or one stage (a run less
  // another), against others. False when either run is missing; a difference may
  // come out at or below zero, which the ratios then report as not measured.
  bool Combine(const std::string& name, const std::string& a, double sign, const std::string& b) {
    const RunTimes* x = Find(a);
    const RunTimes* y = Find(b);
    if (!x || !y) return false;
    RunTimes t;
    t.real = x->real + sign * y->real;
    t.cpu = x->cpu + sign * y->cpu;
    times_[name] = t;
    return true;
  }

  // "ratio <what>  ours/peer = 1.23x (cpu), 1.20x (real)", with the verdict when a
  // goal is given (ours may take at most `goal` times the peer's time). Returns the
  // CPU ratio, or -1 when either run is missing.
  double PrintRatio(const std::string& what, const std::string& ours, const std::string& peer,
                    double goal = 0) const {
    return Print(what, ours, peer, goal, false);
  }
  // The same as a speed: peer time / our time, goal a least speed.
  double PrintSpeed(const std::string& what, const std::string& ours, const std::string& peer,
                    double goal = 0) const {
    return Print(what, ours, peer, goal, true);
  }
  // A speed judged by wall time: for a peer that runs as a program of its own,
  // whose CPU time this process does not see.
  double PrintSpeedWall(const std::string& what, const std::string& ours, const std::string& peer,
                        double goal = 0) const {
    return Print(what, ours, peer, goal, true, true);
  }

 private:
  double Print(const std::string& what, const std::string& ours, const std::string& peer, double goal,
               bool speed, bool wall = false) const {
    const RunTimes* a = Find(ours);
    const RunTimes* b = Find(peer);
    if (!a || !b || a->cpu <= 0 || b->cpu <= 0 || a->real <= 0 || b->real <= 0) {
      std::printf("ratio %-40s not measured\n", what.c_str());
      return -1;
    }
    const double cpu = speed ? b->cpu / a->cpu : a->cpu / b->cpu;
    const double real = speed ? b->real / a->real : a->real / b->real;
    std::printf("ratio %-40s %s = %.2fx (cpu), %.2fx (real)", what.c_str(), speed ? "peer/ours" : "ours/peer",
                cpu, real);
    const double judged = wall ? real : cpu;
    if (goal > 0) {
      const bool met = speed ? judged >= goal : judged <= goal;
      std::printf("  goal %s %.2f (%s): %s", speed ? ">=" : "<=", goal, wall ? "real" : "cpu", met ? "met" : "not met");
    }
    std::printf("\n");
    return judged;
  }

  std::map<std::string, RunTimes> times_;
  std::set<std::string> medians_;
};

}  // namespace zxbench
