/// Comparing and checking whole stores: diff_bench COUNT [benchmark flags].
/// The floor is an export of the same store: every row read, merged and written
/// as text once.

#include <cstdlib>
#include <iostream>
#include <stdexcept>

#include "run.h"
#include "sample.h"

namespace {

using bench::SampleHost;
using bench::Side;
using OrvoConfigStore::DiffSide;

void ExportOnce(size_t) {
  if (OrvoConfigStore::Export().empty()) throw std::runtime_error("nothing is exported");
}

void RegisterDiff(const std::string& objects, size_t count) {
  const auto document = std::make_shared<const std::string>(OrvoConfigStore::Export());
  const auto compare = [document](const DiffSide& to) {
    if (!OrvoConfigStore::Diff({DiffSide::DOCUMENT, *document}, to).objects.empty()) {
      throw std::runtime_error("the sides differ");
    }
  };
  const std::string workload = "Diff of a document and the store, " + objects;
  bench::Register(
      workload, Side::Store,
      [compare](size_t) {
        compare({DiffSide::STORE, ""});
      },
      count);
  bench::Register(workload, Side::Floor, ExportOnce, count);
}

void RegisterCheck(const std::string& objects, size_t count) {
  const std::string workload = "Check of the store, " + objects;
  const auto check = [](size_t) {
    if (!OrvoConfigStore::CheckStore().empty()) throw std::runtime_error("something is wrong");
  };
  bench::Register(workload, Side::Store, check, count);
  bench::Register(workload, Side::Floor, ExportOnce, count);
}

}  // namespace

int main(int argc, char** argv) {
  const size_t count = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 0;
  if (count == 0) {
    std::cerr << "usage: diff_bench COUNT [benchmark flags]\n";
    return 2;
  }
  const SampleHost host(count);
  RegisterDiff(std::to_string(count), count);
  RegisterCheck(std::to_string(count), count);
  argv[1] = argv[0];
  return bench::RunRegistered(argc - 1, argv + 1);
}
