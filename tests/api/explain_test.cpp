#include <cstdlib>
#include <iostream>
#include <random>

#include "api/compare_fields.h"
#include "configstore/inspect.h"
#include "platform/json_reader.h"
#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

// Puts a row in place, "AutoConf User Vital Cached Desired"; an empty layer is none.
void PutLayers(const std::vector<std::string>& layers, bool isConfirmed) {
  std::string values;
  for (const std::string& layer : layers) values += layer.empty() ? "NULL," : "'" + layer + "',";
  PutRow(kStackSettings, "AutoConfValue, UserValue, VitalValue, CachedValue, DesiredValue, Success",
         values + (isConfirmed ? "1" : "0"));
}

std::string Line(const ObjectExplanation& object, const std::string& path) {
  for (const FieldOrigin& field : object.fields) {
    if (field.path != path) continue;
    std::string line = field.effective.value_or("-") + " " + field.layer;
    for (const LayerValue& hidden : field.shadowed) line += ", hides " + hidden.value + " " + hidden.layer;
    const std::pair<const char*, std::optional<std::string>> asides[] = {{"unconfirmed", field.unconfirmed},
                                                                         {"desired", field.desired},
                                                                         {"staged", field.staged},
                                                                         {"default", field.schemaDefault},
                                                                         {"package", field.packageDefault}};
    for (const auto& [name, value] : asides) {
      if (value) line += std::string(", ") + name + " " + *value;
    }
    return line;
  }
  return "none";
}

TEST(ExplainObject, TellsLayerAndWhatIsHiddenOrPending) {
  TestStore store;
  PutLayers({R"({"mtu":1400,"link":[{"name":"a/b","enabled":true}]})", R"({"hostname":"n","mtu":9000})",
             R"({"hw_address":"x","routing":{"router_id":1}})", R"({"learned_domain":"d"})", R"({"mtu":1280})"},
            true);
  PutRow(kStackSettings, "Value", "'{\"mtu\":576}'", "DesiredUserConfig");
  PutRow(kStackSettings, "Value", "'{\"mtu\":1499}'", "DefaultConfig");
  const ObjectExplanation object = ExplainObject(kStackSettings);
  const std::pair<const char*, const char*> lines[] = {
      {"/mtu", "9000 user, hides 1400 auto, desired 1280, staged 576, default 1500, package 1499"},
      {"/hostname", "\"n\" user"},
      {"/routing/router_id", "1 vital"},
      {"/routing/mode", "- , default \"dynamic\""},
      {"/link/a~1b/enabled", "true auto, default true"},
      {"/learned_domain", "\"d\" cached"},
  };
  for (const auto& [path, line] : lines) EXPECT_EQ(line, Line(object, path)) << path;
  store.Run("UPDATE Config SET Success=0;");
  EXPECT_EQ("1400 auto, unconfirmed 9000, desired 1280, staged 576, default 1500, package 1499",
            Line(ExplainObject(kStackSettings), "/mtu"));
  EXPECT_FALSE(ExplainObject(kTimeSource).stored);
}

TEST(ExplainObject, SurvivesARowThatCannotBeRead) {
  TestStore store;
  PutLayers({"{\"mtu\":1400}", "{\"mtu\":", "[1]", "", ""}, true);
  const ObjectExplanation object = ExplainObject(kStackSettings);
  EXPECT_NE("", Thrown([&] { store.Get(kStackSettings); }));
  EXPECT_NE("", object.readFailure);
  ASSERT_EQ(2u, object.damaged.size());
  EXPECT_EQ("vital user", object.damaged[0].layer + " " + object.damaged[1].layer);
  EXPECT_EQ("1400 auto, default 1500", Line(object, "/mtu"));
}

// Random layers over few names, so that they meet; types clash as well.
class RandomLayers {
 public:
  explicit RandomLayers(unsigned seed) : random_(seed) {}

  std::string Object(int depth) {
    std::string json = "{";
    for (const char* name : {"a", "b", "routing", "link", "address"}) {
      if (Below(2) == 0) continue;
      json += (json.size() > 1 ? ",\"" : "\"") + std::string(name) + "\":" + Value(name, depth);
    }
    return json + "}";
  }
  size_t Below(size_t bound) { return std::uniform_int_distribution<size_t>(0, bound - 1)(random_); }

 private:
  std::string Value(const std::string& name, int depth) {
    if (depth > 0 && name == "routing" && Below(8) != 0) return Object(depth - 1);
    if (depth > 0 && (name == "link" || name == "address") && Below(8) != 0) return Instances(name, depth - 1);
    const char* const scalars[] = {"null", "1", "\"x\"", "[]", "[1,2]", "{}", "[{\"p\":1}]", "true"};
    return scalars[Below(std::size(scalars))];
  }

  std::string Instances(const std::string& array, int depth) {
    std::string json;
    for (const char* id : {"e~0", "e/1", "e2"}) {
      if (Below(2) == 0) continue;
      const std::string rest = Object(depth);
      json += (json.empty() ? "" : ",") + std::string("{\"") + (array == "link" ? "name" : "cs_generated_id") +
              "\":\"" + id + "\"" + (rest == "{}" ? "}" : "," + rest.substr(1));
    }
    return "[" + json + "]";
  }

  std::mt19937 random_;
};

TEST(ExplainObject, ComposesToWhatAReadReturns) {
  const char* given = std::getenv("EXPLAIN_SEED");
  const unsigned seed = given == nullptr ? std::random_device()() : static_cast<unsigned>(std::atol(given));
  std::cout << "EXPLAIN_SEED=" << seed << "\n";
  TestStore store;
  RandomLayers layers(seed);
  const auto schema = TestStore::Schema(kStackSettings);
  int readable = 0;
  for (int round = 0; round < 200; ++round) {
    std::vector<std::string> row, expected, explained;
    for (int layer = 0; layer < 5; ++layer) row.push_back(layers.Below(4) == 0 ? "" : layers.Object(3));
    PutLayers(row, layers.Below(4) != 0);
    const ObjectExplanation object = ExplainObject(kStackSettings);
    std::string read;
    const std::string thrown = Thrown([&] { read = store.Get(kStackSettings); });
    ASSERT_EQ(thrown.empty(), object.readFailure.empty()) << thrown;
    if (!thrown.empty()) continue;
    ++readable;
    JsonStorage none, merged;
    none.document.SetObject();
    if (read != "-" && ReadJson(read, merged.document, nullptr)) {
      for (const FieldChange& field : CompareFieldsOf(schema.get(), none.document, merged.document)) {
        expected.push_back(field.path + " " + *field.after);
      }
    }
    for (const FieldOrigin& field : object.fields) {
      if (field.effective) explained.push_back(field.path + " " + *field.effective);
    }
    std::sort(expected.begin(), expected.end());
    std::sort(explained.begin(), explained.end());
    ASSERT_EQ(expected, explained) << testing::PrintToString(row);
  }
  EXPECT_GT(readable, 10);
}

}  // namespace
