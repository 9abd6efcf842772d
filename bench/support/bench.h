#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

// Rows of the table of measurements. A row compares what this system does with what the machine
// must do anyway, the baseline, in one process.

// Adds the rows of a program. Each program defines it.
void AddRows();

using Work = std::function<void(benchmark::State&)>;

// `row` names what is measured, `size` says how much of it.
void AddPair(const std::string& row, const std::string& size, Work baseline, Work ours);
// For work without a baseline.
void AddAlone(const std::string& row, const std::string& size, Work ours);

// The size to measure with: a small one in a run that only shows that everything works.
int Sized(int full, int small);

// Fails the benchmark when its result is wrong.
void Expect(benchmark::State& state, bool right, const char* what);

// A folder for the files of this program, removed at its end.
const std::string& BenchFolder();

// All fixtures, destroyed at the end of the run: after that, plug-ins whose blocks they hold are
// unloaded.
std::vector<std::shared_ptr<void>>& KeptFixtures();

// The fixture for these arguments: made when it is first asked for, kept to the end of the run.
template <class Fixture, class... Arguments>
Fixture& Shared(Arguments... arguments) {
  static std::map<std::tuple<Arguments...>, Fixture*> fixtures;
  Fixture*& fixture = fixtures[std::tuple<Arguments...>(arguments...)];
  if (fixture == nullptr) {
    const auto made = std::make_shared<Fixture>(arguments...);
    KeptFixtures().push_back(made);
    fixture = made.get();
  }
  return *fixture;
}
