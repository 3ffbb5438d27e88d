/// Export or import of all instances of a type as one document:
/// documents_bench export|import COUNT [benchmark flags].

#include <configstore/documents.h>

#include <cstdlib>
#include <iostream>
#include <stdexcept>

#include "floor.h"
#include "run.h"
#include "sample.h"

namespace {

using bench::Floor;
using bench::Side;

// The floor parses every row, as whoever checks or filters must, and puts the
// texts together.
void RegisterExport(Floor& floor, size_t count) {
  const std::string workload = "Export of " + std::to_string(count);
  const auto exportByStore = [count](size_t) {
    size_t bytes = 0;
    const auto summary = OrvoConfigStore::Export({}, [&bytes](std::string_view part) { bytes += part.size(); });
    if (summary.objects != count || bytes == 0) throw std::runtime_error("objects are missing");
  };
  const auto exportByFloor = [&floor](size_t) {
    std::string document;
    floor.ReadAll([&document](std::string_view text) {
      bench::ParseText(text);
      document += text;
    });
    benchmark::DoNotOptimize(document);
  };
  bench::Register(workload, Side::Store, exportByStore, count);
  bench::Register(workload, Side::Floor, exportByFloor, count);
}

// The floor parses the document and writes texts that are at hand.
void RegisterImport(Floor& floor, size_t count) {
  const std::string workload = "Import of " + std::to_string(count);
  const auto document = std::make_shared<const std::string>(OrvoConfigStore::Export());
  const auto rows = std::make_shared<const std::vector<bench::FloorRow>>(bench::FloorRows(count));
  bench::Register(
      workload, Side::Store, [document](size_t) { OrvoConfigStore::Import(*document); }, count);
  const auto importByFloor = [&floor, document, rows](size_t) {
    bench::ParseText(*document);
    floor.ReplaceAll(*rows);
  };
  bench::Register(workload, Side::Floor, importByFloor, count);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string operation = argc > 1 ? argv[1] : "";
  const size_t count = argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 0;
  if (count == 0 || (operation != "export" && operation != "import")) {
    std::cerr << "usage: documents_bench export|import COUNT [benchmark flags]\n";
    return 2;
  }
  const bench::SampleHost host(count);
  Floor floor(OrvoConfigStore::ResolveHostPath(bench::kStoreFile), host.FileBeside("floor"));
  (operation == "export" ? RegisterExport : RegisterImport)(floor, count);
  argv[2] = argv[0];
  return bench::RunRegistered(argc - 2, argv + 2);
}
