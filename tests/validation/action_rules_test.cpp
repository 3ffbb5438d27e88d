#include "validation/action_rules.h"

#include "support/log_capture.h"
#include "validation/validation_case.h"

namespace {

using namespace OrvoConfigStore;

// Each breach below breaks one rule of this type, and each rule belongs to one check.
constexpr char kSchema[] =
    "{'type':'object','additionalProperties':false,'required':['r','rv'],'properties':{"
    "'r':{'type':'string'},'rv':{'type':'string','vital':true},'t':{'type':'integer'},"
    "'u':{'type':'string','optionDependency':{'name':'t','value':['x']}},"
    "'to':{'type':'string','reference':'/r'},'v':{'type':'string','vital':true},'c':{'type':'string','cached':true},"
    "'g':{'type':'array','instanceId':'cs_generated_id','cached':false,'items':{'type':'object','properties':{"
    "'cs_generated_id':{'type':'string','instanceId':true}}}}}}";

struct Breach {
  const char* data;
  const char* violation;
};
const Breach kAdditional = {"{'r':'','rv':'','x':1}", ": Additional property not allowed: x"};
const Breach kType = {"{'r':'','rv':'','t':'1'}", "/t: INCORRECT TYPE: expected integer."};
const Breach kReference = {"{'r':'','rv':'','to':'x'}", "/to: REFERENCE ERROR: /to->/r"};
const Breach kMarker = {"{'r':'','rv':'','v':''}", "/v: Non user property not allowed."};
const Breach kMissing = {"{'rv':''}", ": Required property missing: r"};
const Breach kMissingVital = {"{'r':''}", ": Required property missing: rv"};
const Breach kNotVital = {"{'r':'','rv':'','c':''}", "/c: property is not vital"};
const Breach kNotCached = {"{'r':'','rv':'','v':''}", "/v: property is not cached"};
const Breach kUnion = {"{'r':'','rv':'','u':''}", "/u: Object does not follow UnionTag condition"};
const Breach kDuplicate = {"{'r':'','rv':'','g':[{'cs_generated_id':'i'},{'cs_generated_id':'i'}]}",
                           "/g: Duplicate instanceIds: i"};
const Breach* const kBreaches[] = {&kAdditional,   &kType,     &kReference, &kMarker, &kMissing,
                                   &kMissingVital, &kNotVital, &kNotCached, &kUnion,  &kDuplicate};

struct KindCase {
  const char* name;
  WriteKind kind;
  const char* code;  // "" where nothing is thrown
  std::vector<const Breach*> reported;
  bool assignsId;
};

const std::vector<const Breach*> kUserRules = {&kAdditional, &kType, &kMarker, &kMissing, &kUnion, &kDuplicate};
const KindCase kKindCases[] = {
    {"Default",
     WriteKind::DefaultConfig,
     "1084 Failed to validate Default config",
     {&kAdditional, &kType, &kMissing, &kMissingVital, &kUnion},
     true},
    {"Cached",
     WriteKind::Cached,
     "1084 Failed to validate Default config",
     {&kAdditional, &kType, &kNotCached, &kDuplicate},
     false},
    {"Vital",
     WriteKind::Vital,
     "1086 Failed to validate Vital config",
     {&kAdditional, &kType, &kNotVital, &kDuplicate},
     false},
    {"User", WriteKind::User, "1087 Failed to validate User config", kUserRules, false},
    {"Partial", WriteKind::Partial, "1088 Failed to validate Partial config", {&kAdditional, &kType, &kMissing}, false},
    {"SetFromOutside",
     WriteKind::SetFromOutside,
     "1089 Failed to validate Set",
     {&kAdditional, &kType, &kMissing, &kUnion, &kDuplicate},
     false},
    {"SetByHost", WriteKind::SetByHost, "1089 Failed to validate Set", {&kAdditional, &kType, &kDuplicate}, false},
    {"Update", WriteKind::Update, "1090 Failed to validate Update", {&kAdditional, &kType}, false},
    {"ApplyFile", WriteKind::ApplyFile, "1091 Failed to validate Apply JSON file", {&kAdditional, &kType}, false},
    {"Auto",
     WriteKind::Auto,
     "1092 Failed to validate Auto config",
     {&kAdditional, &kType, &kMarker, &kDuplicate},
     false},
    {"SingleObject", WriteKind::SingleObject, "", kUserRules, false},
    {"ImportDocument", WriteKind::ImportDocument, "", {&kAdditional, &kType, &kMissing, &kUnion}, true},
    {"Document", WriteKind::Document, "", {&kAdditional, &kType, &kMarker, &kMissing, &kUnion}, true},
};

std::shared_ptr<SchemaObject> SchemaOf(const std::string& json) {
  OrvoSchemaStore::SchemaRecord record;
  record.key = "k";
  record.version = "1.0";
  record.schema = Quoted(json);
  return std::make_shared<SchemaObject>(record);
}

std::shared_ptr<ConfigStoreObject> ObjectOf(const std::string& json) {
  return std::make_shared<ConfigStoreObject>(ConfigStoreObjectId("k", "g", "c"), CreateDocumentFromString(Quoted(json)),
                                             nullptr, "1.0", "", "", false, nullptr, nullptr);
}

// Runs the entry point of a kind of write on one object; returns what it threw.
std::string Write(WriteKind kind, const std::string& schemaJson, const std::string& json) {
  const auto schema = SchemaOf(schemaJson);
  const auto object = ObjectOf(json);
  const JsonDoc& data = *object->GetJsonDocPtr();
  return Thrown([&] {
    switch (kind) {
      case WriteKind::DefaultConfig:
        return ValidateDefaultConfig(schema->GetJson(), *data.document, *data.allocator);
      case WriteKind::Cached:
        return ValidateCachedConfig(schema, object);
      case WriteKind::Vital:
        return ValidateVitalConfig(schema, object);
      case WriteKind::User:
        return ValidateUserConfig(schema, object);
      case WriteKind::Partial:
        return ValidatePartialConfig(schema, object);
      case WriteKind::SetFromOutside:
        return ValidateSetByContext(schema, object, {USERDATA_CONTEXT::EXTERNAL});
      case WriteKind::SetByHost:
        return ValidateSetByContext(schema, object, {USERDATA_CONTEXT::AUTOCONFIGURATION});
      case WriteKind::Update:
        return ValidateUpdate(schema, object);
      case WriteKind::ApplyFile:
        return ValidateApplyFile(*data.document, schema->GetJson());
      case WriteKind::Auto:
        return ValidateAutoConfig(schema, object);
      default:
        return;
    }
  });
}

class KindsOfWrite : public testing::TestWithParam<KindCase> {};

bool Reports(WriteKind kind, const Breach& breach) {
  const auto schema = CreateDocumentFromString(Quoted(kSchema));
  const auto data = CreateDocumentFromString(Quoted(breach.data));
  for (const ErrorInfo& info : FindViolations(kind, *schema->document, *data->document, *data->allocator)) {
    if (info.field + ": " + info.error == breach.violation) return true;
  }
  return false;
}

}  // namespace

TEST_P(KindsOfWrite, ReportTheirOwnBreachesAlone) {
  const auto& reported = GetParam().reported;
  for (const Breach* breach : kBreaches) {
    const bool expected = std::find(reported.begin(), reported.end(), breach) != reported.end();
    EXPECT_EQ(expected, Reports(GetParam().kind, *breach)) << breach->violation;
  }
}

TEST_P(KindsOfWrite, AssignGeneratedIdsOnlyToWhatTheyComplete) {
  const auto schema = CreateDocumentFromString(Quoted(kSchema));
  const auto data = CreateDocumentFromString(Quoted("{'r':'','rv':'','g':[{}]}"));
  FindViolations(GetParam().kind, *schema->document, *data->document, *data->allocator);
  EXPECT_EQ(GetParam().assignsId ? 1u : 0u, (*data->document)["g"][0].MemberCount());
}

TEST_P(KindsOfWrite, ThrowTheirCodeWithEveryViolation) {
  if (*GetParam().code == '\0') return;
  EXPECT_EQ(
      std::string(GetParam().code) +
          " [/o: Additional property not allowed: x; /o: Additional property not "
          "allowed: y]",
      Write(GetParam().kind, "{'type':'object','properties':{'o':{'type':'object','additionalProperties':false}}}",
            "{'o':{'x':1,'y':2}}"));
  EXPECT_EQ("", Write(GetParam().kind, "{'type':'object'}", "{'o':1}"));
  EXPECT_EQ("2000 Invalid JSON", Write(GetParam().kind, "{'type':5}", "{}"));
}

INSTANTIATE_TEST_SUITE_P(Rules, KindsOfWrite, testing::ValuesIn(kKindCases),
                         [](const auto& c) { return std::string(c.param.name); });

TEST(ObjectsToWrite, MustBeObjects) {
  EXPECT_EQ("1030 Invalid type, Expected Object.", Write(WriteKind::User, "{'type':'array','items':{}}", "[]"));
  EXPECT_EQ("1030 Invalid type, Expected Object.", Write(WriteKind::Vital, "{'type':'object'}", "null"));
}

TEST(ObjectsToWrite, NeedTheirRequiredMembersFromOutsideCallersAlone) {
  const auto schema = SchemaOf("{'type':'object','required':['a']}");
  const auto set = [&](uint32_t kind) { return Thrown([&] { ValidateSetByContext(schema, ObjectOf("{}"), {kind}); }); };
  EXPECT_EQ("1089 Failed to validate Set [: Required property missing: a]", set(USERDATA_CONTEXT::EXTERNAL));
  EXPECT_EQ("", set(USERDATA_CONTEXT::AUTOCONFIGURATION));
  EXPECT_EQ("", set(7));
}

TEST(ObjectsToWrite, OfATypeWithInstancesAreOneElement) {
  const char schema[] =
      "{'type':'array','instanceId':'i','items':{'type':'object','properties':{'i':{'type':'string'}}}}";
  EXPECT_EQ("", Write(WriteKind::Update, schema, "{'i':'x'}"));
  EXPECT_EQ("1090 Failed to validate Update [/i: INCORRECT TYPE: expected string.]",
            Write(WriteKind::Update, schema, "{'i':1}"));
}

TEST(ObjectsToWrite, AreWhatTheHandleLeadsTo) {
  const auto whole = ObjectOf("{'o':{'x':1}}");
  const auto inner = whole->GetSubObject(SubObjectId("o"));
  EXPECT_EQ("", Thrown([&] {
              ValidateUpdate(SchemaOf("{'type':'object','additionalProperties':false,'properties':{"
                                      "'x':{'type':'integer'}}}"),
                             inner);
            }));
}

TEST(ErrorInfos, AreTakenFromEveryEntry) {
  const auto infos = ErrorArrayToErrorInfos(
      *CreateDocumentFromString(Quoted("[{'value':1,'field':'/a','error':'bad'},{'error':'worse','field':''}]"))
           ->document);
  ASSERT_EQ(2u, infos.size());
  EXPECT_EQ("/a: bad", infos[0].field + ": " + infos[0].error);
  EXPECT_EQ(": worse", infos[1].field + ": " + infos[1].error);
  for (const char* malformed : {"[1]", "[{}]", "[{'field':'/a'}]", "[{'error':'e'}]", "[{'field':1,'error':'e'}]",
                                "[{'field':'/a','error':null}]", "{}"}) {
    const auto errors = CreateDocumentFromString(Quoted(malformed));
    EXPECT_EQ("2000 Invalid JSON", Thrown([&] { ErrorArrayToErrorInfos(*errors->document); })) << malformed;
  }
}

TEST(ObjectsOfADocument, AreValidatedWhenTheyAreWritten) {
  const TestStore store;
  std::vector<ErrorInfo> errors;
  const auto valid = ConfigStore::CreateObject(kTimeSource, "{\"method\":\"ntp\"}");
  const auto invalid = ConfigStore::CreateObject(kTimeSource, "{\"method\":1,\"drift_ppm\":1.5}");
  for (const ACTION action : {ACTION_NONE, ACTION_DELETE}) EXPECT_TRUE(validateObject(invalid, action, errors, "/p"));
  EXPECT_TRUE(validateObject(valid, ACTION_SET, errors, "/p"));
  EXPECT_TRUE(errors.empty());

  errors.push_back({"/earlier", "kept"});
  for (const ACTION action : {ACTION_SET, ACTION_UPDATE}) EXPECT_FALSE(validateObject(invalid, action, errors, "/p"));
  ASSERT_EQ(5u, errors.size());
  EXPECT_EQ("/earlier", errors[0].field);
  EXPECT_EQ("/method: INCORRECT TYPE: expected string.", errors[1].field + ": " + errors[1].error);
  EXPECT_EQ("/drift_ppm: Non user property not allowed.", errors[2].field + ": " + errors[2].error);
}

TEST(ObjectsOfADocument, MustBeOfAKnownType) {
  const TestStore store;
  std::vector<ErrorInfo> errors;
  for (const ACTION action : {ACTION_NONE, ACTION_SET}) {
    EXPECT_FALSE(validateObject(ObjectOf("{}"), action, errors, "/prefix"));
  }
  ASSERT_EQ(2u, errors.size());
  EXPECT_EQ("/prefix/component c group g key k: Schema not found.", errors[1].field + ": " + errors[1].error);
}

TEST(ObjectsOfADocument, AreLogged) {
  const TestStore store;
  const LogCapture log(store.Root());
  std::vector<ErrorInfo> errors;
  validateObject(ConfigStore::CreateObject(kTimeSource, "{\"method\":\"ntp\"}"), ACTION_SET, errors, "");
  EXPECT_EQ("validate completed successfully", log.Lines().back());
  validateObject(ConfigStore::CreateObject(kTimeSource, "{}"), ACTION_SET, errors, "");
  EXPECT_EQ("validate completed with errors", log.Lines().back());
  validateObject(ObjectOf("{}"), ACTION_SET, errors, "");
  EXPECT_EQ("[1037]Schema object not found: component c group g key k", log.Lines().back());
}
