#include "configstore/documents.h"

#include <random>
#include <regex>

#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

// A type with everything that splits and merges, "probe" and "probe/port" named as
// arrays of instances are; " is written '.
constexpr char kMeter[] = R"({"component": "meterd", "group": "probes", "key": "probe", "version": "1", "schema": {
  "type": "array", "instanceId": "name", "items": {"type": "object", "additionalProperties": false,
  "required": ["name", "rate"], "properties": {
    "name": {"type": "string", "instanceId": true, "maxLength": 300}, "rate": {"type": "integer", "minimum": 1},
    "serial": {"type": "string", "vital": true}, "seen": {"type": "long", "cached": true},
    "key": {"type": "secret", "minLength": 5},
    "keys": {"type": "array", "items": {"type": "secret"}},
    "window": {"type": "object", "properties": {"size": {"type": "double"}, "base": {"type": "string", "vital": true}}},
    "probe": {"type": "object", "properties": {"port": {"type": "array", "items": {"type": "string"}},
      "mark": {"type": "string", "vital": true}}},
    "port": {"type": "array", "instanceId": "id", "items": {"type": "object", "required": ["id"], "properties": {
      "id": {"type": "string", "instanceId": true}, "pin": {"type": "secret"}, "mac": {"type": "string", "vital": true},
      "speed": {"type": "integer"}}}}}}}})";

ConfigStoreObjectId Probe(const std::string& name) {
  return {"probe", "probes", "meterd", name};
}

/// A document of one type.
std::string Document(const std::string& component, const std::string& group, const std::string& key,
                     const std::string& value) {
  return Quoted("{'components':{'" + component + "':{'" + group + "':{'" + key + "':" + value + "}}}}");
}
std::string Probes(const std::string& value) {
  return Document("meterd", "probes", "probe", value);
}

ExportOptions With(EXPORT_SECRETS secrets, EXPORT_LAYER layer = EXPORT_EFFECTIVE) {
  ExportOptions options;
  options.secrets = secrets;
  options.layer = layer;
  return options;
}

class Documents : public testing::Test {
 protected:
  TestStore store{{kMeter}};
};

}  // namespace

TEST_F(Documents, ExportIsSortedAndHoldsNoMetadata) {
  EXPECT_EQ(R"({"components":{}})", Export());
  store.Set(Probe("b"), R"({"name":"b","rate":2})");
  store.Set(Probe("a"), R"({"name":"a","rate":1,"serial":"s"})");
  store.Set(kTimeSource, R"({"method":"ntp"})");
  store.Set(UserAccount("u1"), R"({"login":"dora","uid":1})");
  const std::string accounts =
      R"("accessd":{"local":{"user_account":[{"login":"dora","uid":1,"cs_generated_id":"u1"}]}})";
  const std::string probes =
      R"("meterd":{"probes":{"probe":[{"name":"a","serial":"s","rate":1},{"name":"b","rate":2}]}})";
  EXPECT_EQ("{\"components\":{" + accounts + R"(,"clockd":{"sync":{"time_source":{"method":"ntp"}}},)" + probes + "}}",
            Export());
  ExportOptions options;
  options.component = "meterd";
  EXPECT_EQ("{\"components\":{" + probes + "}}", Export(options));
  options.group = "other";
  EXPECT_EQ(R"({"components":{}})", Export(options));
}

TEST_F(Documents, LayersAreExportedAsTheyAreStored) {
  PutRow(Probe("a"), "AutoConfValue, UserValue, VitalValue, CachedValue, DesiredValue, Success",
         R"('{"rate":1}', '{"rate":2}', '{"serial":"v"}', '{"seen":3}', '{"rate":4}', 0)");
  const char* const members[] = {
      "'serial':'v','name':'a','seen':3,'rate':1", "'rate':1", "'rate':2", "'serial':'v'", "'seen':3", "'rate':4"};
  for (int layer = EXPORT_EFFECTIVE; layer <= EXPORT_DESIRED; ++layer) {
    const std::string text = Export(With(SECRETS_MASKED, static_cast<EXPORT_LAYER>(layer)));
    const std::string name = layer == EXPORT_EFFECTIVE ? "" : ",'name':'a'";
    EXPECT_EQ(Probes("[{" + std::string(members[layer]) + name + "}]"), text);
  }
}

TEST_F(Documents, SecretsAreMaskedOmittedOrIncluded) {
  const std::string data = "{'name':'a','rate':1,'key':'12345','keys':['x'],'port':[{'id':'p','pin':'9'}]}";
  store.Set(Probe("a"), Quoted(data));
  EXPECT_EQ(Probes("[" + data + "]"), Export(With(SECRETS_INCLUDED)));
  EXPECT_EQ(Probes("[{'name':'a','rate':1,'keys':[],'port':[{'id':'p'}]}]"), Export(With(SECRETS_OMITTED)));
  const std::string mask = std::string("'") + kSecretMask + "'";
  const std::string masked = Export(With(SECRETS_MASKED));
  EXPECT_EQ(
      Probes("[{'name':'a','rate':1,'key':" + mask + ",'keys':[" + mask + "],'port':[{'id':'p','pin':" + mask + "}]}]"),
      masked);
  // The mask keeps what is stored, and stands for nothing else.
  Import(masked);
  EXPECT_EQ(Quoted(data), store.Get(Probe("a")));
  store->Delete(Probe("a"));
  const std::string violations = Thrown([&] { Import(masked); });
  EXPECT_NE(std::string::npos, violations.find("/components/meterd/probes/probe/port/pin: Secret is masked"))
      << violations;
}

TEST_F(Documents, DamageFailsTheExportAndNamesTheObject) {
  PutRow(kTimeSource, "UserValue", "'{'");
  EXPECT_EQ("1056 Export operation failed: component clockd group sync key time_source: Failed to parse JSON String",
            Thrown([] { Export(); }));
}

TEST_F(Documents, ImportReplacesWhatItNamesAndNothingElse) {
  store.Set(Probe("a"), R"({"name":"a","rate":1})");
  store.Set(Probe("b"), R"({"name":"b","rate":2,"serial":"s"})");
  store.Set(kTimeSource, R"({"method":"ntp"})");
  const ImportSummary summary = Import(Probes("[{'name':'b','rate':3},{'name':'c','rate':4}]"));
  EXPECT_EQ("2 1", std::to_string(summary.objects) + " " + std::to_string(summary.types));
  EXPECT_EQ(R"({"components":{"clockd":{"sync":{"time_source":{"method":"ntp"}}},)"
            R"("meterd":{"probes":{"probe":[{"name":"b","rate":3},{"name":"c","rate":4}]}}}})",
            Export());
  Import(Probes("[]"));
  EXPECT_EQ(Document("clockd", "sync", "time_source", "{'method':'ntp'}"), Export());
}

TEST_F(Documents, MergeAddsAndKeeps) {
  store.Set(Probe("a"), R"({"name":"a","rate":1,"serial":"s"})");
  store.Set(Probe("b"), R"({"name":"b","rate":2})");
  ImportOptions merge;
  merge.mode = IMPORT_MERGE;
  Import(Probes("[{'name':'b','seen':5},{'name':'c','rate':4}]"), merge);
  EXPECT_EQ(Probes("[{'name':'a','serial':'s','rate':1},{'name':'b','seen':5,'rate':2},{'name':'c','rate':4}]"),
            Export());
  // What is wrong with the merged objects is told of all of them, and none is written.
  EXPECT_EQ(
      "1091 Failed to validate Apply JSON file [/components/meterd/probes/probe: Required property missing: rate; "
      "/components/meterd/probes/probe: Required property missing: rate]",
      Thrown([&] { Import(Probes("[{'name':'a','rate':9},{'name':'d'},{'name':'e'}]"), merge); }));
  EXPECT_NE(std::string::npos, store.Get(Probe("a")).find("\"rate\":1"));
}

TEST_F(Documents, ContextChoosesTheLayer) {
  ImportOptions options;
  options.context.kind = USERDATA_CONTEXT::AUTOCONFIGURATION;
  Import(Probes("[{'name':'a','rate':1,'serial':'s'}]"), options);
  EXPECT_EQ("{\"name\":\"a\",\"rate\":1} - {\"name\":\"a\",\"serial\":\"s\"} - - 1", store.Layers("probe"));
  SetKV("IS_BOOT", "true");
  EXPECT_EQ("2000 API cannot be invoked with EXTERNAL context during boot", Thrown([] { Import(Probes("[]")); }));
  Import(Probes("[]"), options);
}

// Documents, with ' for ", and what is thrown; where a list of violations begins, they are of an import.
// clang-format off
#define PROBES "/components/meterd/probes/probe"
const std::pair<const char*, const char*> kRefused[] = {
    {"", "1080 Failed to parse JSON String"},
    {"{'components':{}", "1080 Failed to parse JSON String"},
    {"{'netd':{}}", "2000 Invalid JSON"},
    {"{'components':[]}", "2000 Invalid JSON"},
    {"[{'components':{}}]", "2000 Invalid JSON"},
    {"{'components':{},'version':1}", "[: Additional property not allowed: version]"},
    {"{'components':{'a':{'b':{'c':{}}},'meterd':[]}}",
     "[/components/a/b: Additional property not allowed: c; /components/meterd: INCORRECT TYPE: expected object.]"},
    {"{'components':{'meterd':{'probes':7}}}", "[/components/meterd/probes: INCORRECT TYPE: expected object.]"},
    {"{'components':{'meterd':{'probes':{'probe':{}}}}}", "[" PROBES ": INCORRECT TYPE: expected array.]"},
    {"{'components':{'a':null,'b':{'c':null},'meterd':{'probes':{'probe':[null]}}}}",
     "[/components/a: INCORRECT TYPE: expected object.; /components/b/c: INCORRECT TYPE: expected object.; "
     PROBES ": INCORRECT TYPE: expected object.]"},
    {"{'components':{'meterd':{'probes':{'probe':[]},'probes':{'probe':[]}}}}", "[" PROBES ": Type is there twice]"},
    {"{'components':{'meterd':{'probes':{'probe':[{'name':'a','rate':1,'window':{'size':1.0,'size':2.0}}]}}}}",
     "[" PROBES ": Member is there twice: size]"},
    {"{'components':{'meterd':{'probes':{'probe':[{'name':'a','rate':0},{'name':'b'},{'rate':'x','name':'c'}]}}}}",
     "[" PROBES "/rate: Integer value below minimum: 1; " PROBES ": Required property missing: rate; "
     PROBES "/rate: INCORRECT TYPE: expected integer.]"},
    {"{'components':{'meterd':{'probes':{'probe':[{'name':'','rate':1},{'name':null,'rate':1},"
     "{'name':'a\\u0000','rate':1}]}}}}",
     "[" PROBES ": Non-Singleton object should contain instanceId; " PROBES ": Required property missing: name; "
     PROBES ": instanceId holds a NUL byte]"},
    {"{'components':{'accessd':{'local':{'user_account':[{'cs_generated_id':'i','login':'a','uid':1},"
     "{'cs_generated_id':'i','login':'b','uid':2}]}}}}",
     "[/components/accessd/local/user_account: Duplicate instanceIds: i]"},
};
// clang-format on

TEST_F(Documents, RefusedOnesChangeNothing) {
  store.Set(Probe("kept"), R"({"name":"kept","rate":1})");
  const std::string before = store.Query("SELECT * FROM Config;");
  for (const auto& [document, thrown] : kRefused) {
    EXPECT_EQ((*thrown == '[' ? "1055 Import operation failed " : "") + std::string(thrown),
              Thrown([&, json = document] { Import(Quoted(json)); }))
        << document;
  }
  EXPECT_EQ(before, store.Query("SELECT * FROM Config;"));
}

// What a user layer may hold that a write of the whole does not keep, or keeps
// elsewhere: the export shows only what comes back.
TEST_F(Documents, ExportOfAnImportIsTheSameText) {
  std::mt19937 random(7);
  int imported = 0;
  const auto pick = [&](const std::vector<std::string>& texts) { return texts[random() % texts.size()]; };
  const auto ports = [&](const std::string& member) {
    std::string array = "[";
    for (const char* id : {"p", "q", "r"}) {
      if (random() % 2 == 0) continue;
      array += (array.size() > 1 ? ",{'id':'" : "{'id':'") + std::string(id) + "'" + pick({"", member}) + "}";
    }
    return array + "]";
  };
  const auto layer = [&](const std::vector<std::string>& members) {
    std::string object;
    for (const std::string& member : members) {
      if (random() % 3 != 0) object += (object.empty() ? "" : ",") + member;
    }
    return random() % 5 == 0 ? std::string("NULL") : "'" + Quoted("{" + object + "}") + "'";
  };
  for (int round = 0; round < 60; ++round) {
    // From here on all of it is the user's, and an object without empty parts is exported as it is.
    if (round == 30) store.Register(std::regex_replace(kMeter, std::regex(", \"(vital|cached)\": true"), ""));
    store.Run("DELETE FROM Config;");
    for (const std::string name : {"a", "b/\xff\"", "c\n"}) {
      PutRow(Probe(name), "AutoConfValue, UserValue, VitalValue, CachedValue",
             layer({"'rate':1", "'window':{'size':2.0}", "'probe':{'port':['x']}", "'port':" + ports(",'speed':1")}) +
                 "," +
                 layer({"'keys':['k'],'key':'12345'", "'rate':2", "'window':{}", "'probe':{'port':['y','y']}",
                        "'port':" + ports(",'pin':'s'")}) +
                 "," +
                 layer({"'serial':'v'", "'probe':{'mark':'m'}", "'port':" + ports(",'mac':'m'"),
                        "'window':{'base':'w'}"}) +
                 "," + layer({"'seen':1"}));
    }
    const std::string first = Export(With(SECRETS_INCLUDED));
    store.Run("DELETE FROM Config;");
    const std::string thrown = Thrown([&] { Import(first); });
    if (thrown.find("Required property missing: rate") != std::string::npos) continue;
    ++imported;
    ASSERT_EQ("", thrown) << first;
    ASSERT_EQ(first, Export(With(SECRETS_INCLUDED)));
  }
  EXPECT_LT(20, imported);
}

// The deepest object that can be stored stands below five levels of the document.
TEST_F(Documents, DeepestObjectComesBack) {
  store.Register(R"({"component":"deepd","group":"g","key":"tree","version":"1","schema":{"type":"array",
    "instanceId":"name","items":{"type":"object","required":["name"],"properties":{
    "name":{"type":"string","instanceId":true},"branch":{"type":"object","vital":true,"cached":true}}}}})");
  const auto nested = [](size_t levels) {
    return R"({"name":"a","branch":)" + Repeated(R"({"a":)", levels - 1) + "1" + Repeated("}", levels);
  };
  store.Set({"tree", "g", "deepd", "a"}, nested(512));
  const std::string document = Export();
  store.Run("DELETE FROM Config;");
  Import(document);
  EXPECT_EQ(document, Export());
  EXPECT_EQ("1080 Failed to parse JSON String",
            Thrown([&] { Import(Document("deepd", "g", "tree", "[" + nested(513) + "]")); }));
  EXPECT_EQ(document, Export());
}

TEST_F(Documents, ObjectsReadFromADocumentWriteItAgain) {
  const std::string text =
      R"({"components":{"accessd":{"local":{"user_account":[{"cs_generated_id":"i","login":"a"}]}},)"
      R"("meterd":{"probes":{"probe":[{"name":"a"},{"name":"b"}]}}}})";
  EXPECT_EQ(text, WriteDocument(ReadDocument(text), SECRETS_INCLUDED));
  EXPECT_EQ(
      "2000 The document cannot be used. [/components/meterd/probes: Additional property not allowed: x; "
      "/components/meterd/probes/probe: INCORRECT TYPE: expected object.]",
      Thrown([] { ReadDocument(Quoted("{'components':{'meterd':{'probes':{'x':{},'probe':[1]}}}}")); }));
}
