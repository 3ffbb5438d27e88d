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

// The layers from below: each may include those of a lower number, and errors and logging each other.
const std::map<std::string, int> kHeights = {{"platform", 0},   {"errors", 1}, {"logging", 1},   {"objects", 2},
                                             {"store", 3},      {"api", 4},    {"lifecycle", 5}, {"documents", 5},
                                             {"validation", 3}, {"top", 6}};

bool MayInclude(const std::string& from, const std::string& to) {
  if (from == "top" && to == "store") return false;
  return from == to || kHeights.at(to) < kHeights.at(from) || (kHeights.at(from) == 1 && kHeights.at(to) == 1);
}

// The public headers that a layer implements.
const std::map<std::string, std::set<std::string>> kHeaders = {
    {"platform", {"export.h", "json_types.h", "upgrade_library.h"}},
    {"errors", {"errors.h"}},
    {"logging", {"logging.h"}},
    {"objects",
     {"object_id.h", "object_name.h", "json_document.h", "base_object.h", "config_store_object.h", "filter_spec.h",
      "context.h"}},
    {"validation", {"validation.h"}},
    {"api",
     {"config_store.h", "boot_state.h", "host.h", "inspect.h", "watch.h", "rehearsal.h", "edit_fields.h", "check.h"}},
    {"lifecycle", {"lifecycle.h"}},
    {"documents", {"documents.h", "schema_tools.h", "diff.h", "diagnostics.h"}},
    {"top", {"configstore.h"}},
};

const fs::path kSource = CONFIGSTORE_SOURCE_DIR;

/// The layer of a path such as "store/reading.h" or "configstore/host.h"; empty when it has none.
std::string LayerOf(const fs::path& path) {
  const std::string folder = path.begin()->string();
  if (folder != "configstore") return kHeights.count(folder) != 0 ? folder : "";
  for (const auto& [layer, headers] : kHeaders) {
    if (headers.count(path.filename().string()) != 0) return layer;
  }
  return "";
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

}  // namespace

TEST(Includes, GoOnlyDownwards) {
  const std::regex ours("#include \"([^\"]+)\"");
  for (const char* tree : {"src", "include"}) {
    const size_t found = ForEachMatch(tree, ours, [](const fs::path& file, const std::string& included) {
      const std::string from = LayerOf(file), to = LayerOf(included);
      EXPECT_TRUE(!from.empty() && !to.empty() && MayInclude(from, to))
          << file << " (layer \"" << from << "\") includes " << included << " (layer \"" << to << "\")";
    });
    EXPECT_GT(found, 0u);
  }
}

TEST(Clients, SeeThePublicHeadersAlone) {
  const std::regex folderForm("#include [<\"]([^>\"/]+/[^>\"]+)[>\"]");
  std::set<std::string> foreign = {"..", "src", "tests"};
  for (const auto& layer : kHeights) foreign.insert(layer.first);
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
