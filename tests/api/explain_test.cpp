#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <random>

#include "configstore/inspect.h"
#include "platform/json_reader.h"
#include "platform/json_values.h"
#include "platform/sql_format.h"
#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

// Writes a row as it stands, "AutoConf User Vital Cached Desired Success".
void PutRow(TestStore& store, const std::vector<std::string>& layers, bool isConfirmed) {
  std::vector<std::string> values = {layers.begin(), layers.end()};
  store.Run("DELETE FROM Config;");
  std::string sql =
      "INSERT INTO Config(Component,ConfigGroup,Name,Version,AutoConfValue,UserValue,VitalValue,CachedValue,"
      "DesiredValue,Success) VALUES('netd','ipstack','stack_settings','1.0'";
  for (const std::string& value : values) sql += value.empty() ? ",NULL" : FormatSql(",'%s'", {value});
  store.Run(sql + (isConfirmed ? ",1);" : ",0);"));
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
  PutRow(store,
         {R"({"mtu":1400,"link":[{"name":"a/b","enabled":true}]})", R"({"hostname":"n","mtu":9000})",
          R"({"hw_address":"x","routing":{"router_id":1}})", R"({"learned_domain":"d"})", R"({"mtu":1280})"},
         true);
  store.Run(
      "INSERT INTO DesiredUserConfig(Component,ConfigGroup,Name,Value) VALUES('netd','ipstack','stack_settings',"
      "'{\"mtu\":576}');");
  store.Run(
      "INSERT INTO DefaultConfig(Component,ConfigGroup,Name,Value) VALUES('netd','ipstack','stack_settings',"
      "'{\"mtu\":1499}');");
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
  PutRow(store, {"{\"mtu\":1400}", "{\"mtu\":", "[1]", "", ""}, true);
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

std::string Unescape(std::string step) {
  for (const auto& [escape, plain] : {std::pair<const char*, const char*>{"~1", "/"}, {"~0", "~"}}) {
    for (size_t at = 0; (at = step.find(escape, at)) != std::string::npos; ++at) step.replace(at, 2, plain);
  }
  return step;
}

// Puts a field where its path leads, making the objects and instances on the way.
void Compose(JsonValue& target, const std::string& path, const std::string& text, const JsonValue& idMap,
             JsonAllocator& allocator) {
  const size_t end = std::min(path.find('/', 1), path.size());
  const std::string name = Unescape(path.substr(1, end - 1));
  JsonValue* member = FindValue(target, name);
  if (member == nullptr) {
    target.AddMember(TextValue(name, allocator), JsonValue(), allocator);
    member = FindValue(target, name);
  }
  if (end == path.size()) {
    JsonStorage value;
    ASSERT_TRUE(ReadJson(text, value.document, nullptr));
    member->CopyFrom(value.document, allocator);
    return;
  }
  const JsonValue* idKey = FindValue(idMap, name);
  if (idKey == nullptr || member->IsObject()) {
    if (!member->IsObject()) member->SetObject();
    return Compose(*member, path.substr(end), text, idMap, allocator);
  }
  if (!member->IsArray()) member->SetArray();
  const size_t after = path.find('/', end + 1);
  const std::string id = Unescape(path.substr(end + 1, after - end - 1));
  for (JsonValue& element : member->GetArray()) {
    if (TextOf(element[idKey->GetString()]) == id) {
      return Compose(element, path.substr(after), text, idMap, allocator);
    }
  }
  member->PushBack(JsonValue(rapidjson::kObjectType), allocator);
  JsonValue& element = *(member->End() - 1);
  element.AddMember(JsonValue(*idKey, allocator), TextValue(id, allocator), allocator);
  Compose(element, path.substr(after), text, idMap, allocator);
}

TEST(ExplainObject, ComposesToWhatAReadReturns) {
  const char* given = std::getenv("EXPLAIN_SEED");
  const unsigned seed = given == nullptr ? std::random_device()() : static_cast<unsigned>(std::atol(given));
  std::cout << "EXPLAIN_SEED=" << seed << "\n";
  TestStore store;
  RandomLayers layers(seed);
  const auto schema = TestStore::Schema(kStackSettings);
  const JsonValue& idMap = schema->GetIdMap()->document;
  int readable = 0;
  for (int round = 0; round < 200; ++round) {
    std::vector<std::string> row;
    for (int layer = 0; layer < 5; ++layer) row.push_back(layers.Below(4) == 0 ? "" : layers.Object(3));
    PutRow(store, row, layers.Below(4) != 0);
    const ObjectExplanation object = ExplainObject(kStackSettings);
    std::string read;
    const std::string thrown = Thrown([&] { read = store.Get(kStackSettings); });
    ASSERT_EQ(thrown.empty(), object.readFailure.empty()) << thrown;
    if (!thrown.empty()) continue;
    ++readable;
    JsonStorage expected, composed;
    ReadJson(read == "-" ? "{}" : read, expected.document, nullptr);
    composed.document.SetObject();
    for (const FieldOrigin& field : object.fields) {
      if (field.effective) Compose(composed.document, field.path, *field.effective, idMap, composed.allocator);
    }
    std::string shown;
    WriteJson(composed.document, shown);
    ASSERT_TRUE(expected.document == composed.document) << read << "\n"
                                                        << shown << "\n"
                                                        << row[0] << "\n"
                                                        << row[1] << "\n"
                                                        << row[2] << "\n"
                                                        << row[3];
  }
  EXPECT_GT(readable, 10);
}

}  // namespace
