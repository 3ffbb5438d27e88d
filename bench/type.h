#pragma once

namespace bench {

/// The type that the benchmarks work on.
constexpr char kKey[] = "probe_settings";
constexpr char kGroup[] = "probes";
constexpr char kComponent[] = "measured";

}  // namespace bench
