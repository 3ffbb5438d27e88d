#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "floor.h"

/// How a benchmark program is put together: workloads, each run by the library
/// ("store"), as a floor with the same outcome ("floor"), and as the statements
/// of that floor alone ("bare").

namespace bench {

enum class Side { Store, Floor, Bare };

/// Registers one side of a workload. `step` does it once and is called with a
/// count from 0 on; an operation on `objects` objects says so.
void Register(const std::string& workload, Side side, const std::function<void(size_t)>& step, size_t objects = 1);

/// Runs what is registered; the exit code of the program.
int RunRegistered(int argc, char** argv);

/// Parses a row's text once, as anybody who reads it must.
void ParseText(std::string_view text);
/// Takes a row's text and leaves it at that.
void SkipText(std::string_view text);

/// The rows that belong to the sample objects 0 to `count` - 1.
std::vector<FloorRow> FloorRows(size_t count);

}  // namespace bench
