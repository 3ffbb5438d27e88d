#pragma once

#include <gtest/gtest.h>

#include "faults/host.h"

/// Writes a part again and again while the first, the second, the third ... thing
/// that it needs fails, until one write needs no more of them. Whoever writes gets
/// an answer each time, and what is stored agrees with it: an error means that
/// nothing has changed. The same handle goes on working.
///
/// `arm(k)` has the kth fail; `disarm()` ends that and returns whether any has. With
/// `reopens` the store is opened within what fails. Returns the number of places.
template <class Arm, class Disarm>
long FailEveryPlace(FaultHost& host, const Part& part, bool reopens, Arm arm, Disarm disarm) {
  host.Close();
  host.Open();
  int stored = part.read(host);
  for (long k = 1;; ++k) {
    if (reopens) host.Close();
    std::string answer;
    arm(k);
    try {
      if (reopens) host.Open();
      if (host.store != nullptr) part.write(host, stored + part.step);
      if (host.store == nullptr) answer = "no store";
    } catch (const std::exception& error) {
      answer = error.what();
      if (answer.empty()) answer = "(no words)";
    }
    const bool hasStruck = disarm();
    if (host.store == nullptr) host.Open();
    const int found = part.read(host);
    const bool isNew = answer.empty() || (part.mayFailWhenDone && found == stored + part.step);
    EXPECT_EQ(isNew ? stored + part.step : stored, found) << part.name << ", place " << k << ": " << answer;
    EXPECT_NE("(no words)", answer);
    if (found == kTorn || testing::Test::HasFailure()) return k;
    stored = found;
    if (!hasStruck) {
      EXPECT_EQ("", answer);
      return k - 1;
    }
  }
}
