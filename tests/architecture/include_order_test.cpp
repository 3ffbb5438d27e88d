#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

// What each layer may include beside itself. Errors and logging are one layer.
const std::map<std::string, std::set<std::string>> kBelow = {
    {"platform", {}},
    {"errors", {"platform", "logging"}},
    {"logging", {"platform", "errors"}},
    {"objects", {"platform", "errors", "logging"}},
    {"store", {"platform", "errors", "logging", "objects"}},
    {"validation", {"platform", "errors", "logging", "objects"}},
    {"api", {"platform", "errors", "logging", "objects", "store", "validation"}},
    {"lifecycle", {"platform", "errors", "logging", "objects", "store", "validation", "api"}},
    {"documents", {"platform", "errors", "logging", "objects", "store", "validation", "api"}},
    {"top", {"errors", "logging", "objects", "validation", "api", "lifecycle", "documents", "platform"}},
};

// The layer that implements each public header.
const std::map<std::string, std::string> kHeaderLayer = {
    {"export.h", "platform"},
    {"json_types.h", "platform"},
    {"upgrade_library.h", "platform"},
    {"errors.h", "errors"},
    {"logging.h", "logging"},
    {"object_id.h", "objects"},
    {"json_document.h", "objects"},
    {"base_object.h", "objects"},
    {"config_store_object.h", "objects"},
    {"filter_spec.h", "objects"},
    {"context.h", "objects"},
    {"validation.h", "validation"},
    {"config_store.h", "api"},
    {"boot_state.h", "api"},
    {"host.h", "api"},
    {"inspect.h", "api"},
    {"watch.h", "api"},
    {"lifecycle.h", "lifecycle"},
    {"documents.h", "documents"},
    {"configstore.h", "top"},
    {"schema_tools.h", "documents"},
    {"object_name.h", "objects"},
    {"rehearsal.h", "api"},
    {"edit_fields.h", "api"},
    {"check.h", "api"},
    {"diff.h", "documents"},
    {"diagnostics.h", "documents"},
};

const fs::path kSource = CONFIGSTORE_SOURCE_DIR;

/// The layer of a path such as "store/reading.h" or "configstore/host.h"; empty when it has none.
std::string LayerOf(const fs::path& path) {
  const std::string folder = path.begin()->string();
  if (folder != "configstore") return kBelow.count(folder) != 0 ? folder : "";
  const auto header = kHeaderLayer.find(path.filename().string());
  return header == kHeaderLayer.end() ? "" : header->second;
}

/// Calls `check(file, found)` for everything in the folder's files that `form` matches: its first group.
template <class Check>
size_t ForEachMatch(const std::string& folder, const std::regex& form, Check check) {
  size_t found = 0;
  if (!fs::exists(kSource / folder)) return found;
  for (const auto& entry : fs::recursive_directory_iterator(kSource / folder)) {
    if (entry.path().extension() != ".h" && entry.path().extension() != ".cpp") continue;
    std::stringstream text;
    text << std::ifstream(entry.path()).rdbuf();
    const std::string content = text.str();
    for (std::sregex_iterator i(content.begin(), content.end(), form), end; i != end; ++i, ++found) {
      check(fs::relative(entry.path(), kSource / folder), (*i)[1].str());
    }
  }
  return found;
}

class IncludeOrder : public testing::TestWithParam<const char*> {};

}  // namespace

TEST_P(IncludeOrder, GoesOnlyDownwards) {
  const std::regex ours("#include \"([^\"]+)\"");
  const size_t found = ForEachMatch(GetParam(), ours, [](const fs::path& file, const std::string& included) {
    const std::string from = LayerOf(file), to = LayerOf(included);
    EXPECT_TRUE(!from.empty() && !to.empty() && (from == to || kBelow.at(from).count(to) != 0))
        << file << " (layer \"" << from << "\") includes " << included << " (layer \"" << to << "\")";
  });
  EXPECT_GT(found, 0u);
}

INSTANTIATE_TEST_SUITE_P(Trees, IncludeOrder, testing::Values("src", "include"));

TEST(IncludeOrderOfClients, SeesThePublicHeadersAlone) {
  const std::regex folderForm("#include [<\"]([^>\"/]+/[^>\"]+)[>\"]");
  std::set<std::string> foreign = {"..", "src", "tests"};
  for (const auto& layer : kBelow) foreign.insert(layer.first);
  for (const std::string folder : {"bench", "bindings", "cli", "examples"}) {
    if (folder != "bench") foreign.insert("rapidjson");  // there it is the floor to measure against
    ForEachMatch(folder, folderForm, [&](const fs::path& file, const std::string& included) {
      const std::string top = fs::path(included).begin()->string();
      EXPECT_EQ(0u, foreign.count(top)) << folder / file << " includes " << included;
    });
  }
}

// What inherits descriptors, runs a shell, or lets the environment of a set-id program in.
TEST(Calls, ThatOpenMoreThanIsMeantAreNotMade) {
  const std::regex everywhere("(\\b(?:std::)?getenv|\\bpopen|\\bsystem|\\bsprintf) *\\(");
  const std::regex inTheLibrary("(\\bfopen\\(|\\b[io]?fstream\\b|\\bexec[lv]p)");
  const auto refuse = [](const fs::path& file, const std::string& call) { ADD_FAILURE() << file << " has " << call; };
  for (const char* folder : {"src", "cli", "bindings"}) ForEachMatch(folder, everywhere, refuse);
  ForEachMatch("src", inTheLibrary, refuse);
}
