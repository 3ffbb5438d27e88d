#include "validation/action_rules.h"

#include "validation/document_rules.h"
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
  WriteKind kind;
  const char* thrown;  // "" where nothing is
  std::vector<const Breach*> reported;
  bool assignsId;
};

const std::vector<const Breach*> kUserRules = {&kAdditional, &kType, &kMarker, &kMissing, &kUnion, &kDuplicate};
// clang-format off
const KindCase kKindCases[] = {
    {WriteKind::DefaultConfig, "1084 Failed to validate Default config",
     {&kAdditional, &kType, &kMissing, &kMissingVital, &kUnion}, true},
    {WriteKind::Cached, "1084 Failed to validate Default config",
     {&kAdditional, &kType, &kNotCached, &kDuplicate}, false},
    {WriteKind::Vital, "1086 Failed to validate Vital config", {&kAdditional, &kType, &kNotVital, &kDuplicate}, false},
    {WriteKind::User, "1087 Failed to validate User config", kUserRules, false},
    {WriteKind::Partial, "1088 Failed to validate Partial config", {&kAdditional, &kType, &kMissing}, false},
    {WriteKind::SetFromOutside, "1089 Failed to validate Set",
     {&kAdditional, &kType, &kMissing, &kUnion, &kDuplicate}, false},
    {WriteKind::SetByHost, "1089 Failed to validate Set", {&kAdditional, &kType, &kDuplicate}, false},
    {WriteKind::Update, "1090 Failed to validate Update", {&kAdditional, &kType}, false},
    {WriteKind::ApplyFile, "1091 Failed to validate Apply JSON file", {&kAdditional, &kType}, false},
    {WriteKind::Auto, "1092 Failed to validate Auto config", {&kAdditional, &kType, &kMarker, &kDuplicate}, false},
    {WriteKind::SingleObject, "", kUserRules, false},
    {WriteKind::ImportDocument, "", {&kAdditional, &kType, &kMissing, &kUnion}, true},
    {WriteKind::Document, "", {&kAdditional, &kType, &kMarker, &kMissing, &kUnion}, true},
};
// clang-format on

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
    // clang-format off
    switch (kind) {
      case WriteKind::DefaultConfig: return ValidateDefaultConfig(schema->GetJson(), *data.document, *data.allocator);
      case WriteKind::Cached: return ValidateCachedConfig(schema, object);
      case WriteKind::Vital: return ValidateVitalConfig(schema, object);
      case WriteKind::User: return ValidateUserConfig(schema, object);
      case WriteKind::Partial: return ValidatePartialConfig(schema, object);
      case WriteKind::SetFromOutside: return ValidateSetByContext(schema, object, {USERDATA_CONTEXT::EXTERNAL});
      case WriteKind::SetByHost: return ValidateSetByContext(schema, object, {USERDATA_CONTEXT::AUTOCONFIGURATION});
      case WriteKind::Update: return ValidateUpdate(schema, object);
      case WriteKind::ApplyFile: return ValidateApplyFile(*data.document, schema->GetJson());
      case WriteKind::Auto: return ValidateAutoConfig(schema, object);
      default: return;
    }
    // clang-format on
  });
}

bool Reports(WriteKind kind, const Breach& breach) {
  const auto schema = CreateDocumentFromString(Quoted(kSchema));
  const auto data = CreateDocumentFromString(Quoted(breach.data));
  for (const ErrorInfo& info : FindViolations(kind, *schema->document, *data->document, *data->allocator)) {
    if (info.field + ": " + info.error == breach.violation) return true;
  }
  return false;
}

}  // namespace

TEST(KindsOfWrite, ReportTheirOwnBreachesAlone) {
  for (const KindCase& row : kKindCases) {
    for (const Breach* breach : kBreaches) {
      const bool expected = std::find(row.reported.begin(), row.reported.end(), breach) != row.reported.end();
      EXPECT_EQ(expected, Reports(row.kind, *breach)) << "kind " << int(row.kind) << breach->violation;
    }
    const auto schema = CreateDocumentFromString(Quoted(kSchema));
    const auto data = CreateDocumentFromString(Quoted("{'r':'','rv':'','g':[{}]}"));
    FindViolations(row.kind, *schema->document, *data->document, *data->allocator);
    EXPECT_EQ(row.assignsId ? 1u : 0u, (*data->document)["g"][0].MemberCount()) << "kind " << int(row.kind);
  }
}

TEST(KindsOfWrite, ThrowTheirCodeWithEveryViolation) {
  for (const KindCase& row : kKindCases) {
    const std::string thrown = row.thrown;
    if (thrown.empty()) continue;
    EXPECT_EQ(thrown + " [/o: Additional property not allowed: x; /o: Additional property not allowed: y]",
              Write(row.kind, "{'type':'object','properties':{'o':{'type':'object','additionalProperties':false}}}",
                    "{'o':{'x':1,'y':2}}"));
    EXPECT_EQ("", Write(row.kind, "{'type':'object'}", "{'o':1}"));
    EXPECT_EQ("2000 Invalid JSON", Write(row.kind, "{'type':5}", "{}"));
  }
}

TEST(ObjectsToWrite, MustBeObjects) {
  EXPECT_EQ("1030 Invalid type, Expected Object.", Write(WriteKind::User, "{'type':'array','items':{}}", "[]"));
  EXPECT_EQ("1030 Invalid type, Expected Object.", Write(WriteKind::Vital, "{'type':'object'}", "null"));
}

TEST(ObjectsToWrite, AreOneElementOrWhatTheHandleLeadsTo) {
  const char schema[] =
      "{'type':'array','instanceId':'i','items':{'type':'object','properties':{'i':{'type':'string'}}}}";
  EXPECT_EQ("", Write(WriteKind::Update, schema, "{'i':'x'}"));
  EXPECT_EQ("1090 Failed to validate Update [/i: INCORRECT TYPE: expected string.]",
            Write(WriteKind::Update, schema, "{'i':1}"));
  const auto inner = ObjectOf("{'o':{'x':1}}")->GetSubObject(SubObjectId("o"));
  const auto closed = SchemaOf("{'type':'object','additionalProperties':false,'properties':{'x':{'type':'integer'}}}");
  EXPECT_EQ("", Thrown([&] { ValidateUpdate(closed, inner); }));
}

TEST(ErrorInfos, AreTakenFromEveryEntry) {
  const auto infos = [](const std::string& errors) {
    std::string text;
    for (const ErrorInfo& info : ErrorArrayToErrorInfos(*CreateDocumentFromString(Quoted(errors))->document)) {
      text += info.field + ": " + info.error + ";";
    }
    return text;
  };
  EXPECT_EQ("/a: bad;: worse;", infos("[{'value':1,'field':'/a','error':'bad'},{'error':'worse','field':''}]"));
  for (const char* malformed : {"[1]", "[{}]", "[{'field':'/a'}]", "[{'field':1,'error':'e'}]", "{}"}) {
    EXPECT_EQ("2000 Invalid JSON", Thrown([&] { infos(malformed); })) << malformed;
  }
}

std::string Validated(const std::shared_ptr<ConfigStoreObject>& object, ACTION action) {
  std::vector<ErrorInfo> errors = {{"/earlier", "kept"}};
  std::string text = validateObject(object, action, errors, "/prefix") ? "valid" : "invalid";
  for (const ErrorInfo& error : errors) text += "; " + error.field + ": " + error.error;
  return text;
}

TEST(ObjectsOfADocument, AreValidatedWhenTheyAreWritten) {
  const TestStore store;
  const LogCapture log(store.Root());
  const auto valid = ConfigStore::CreateObject(kTimeSource, "{\"method\":\"ntp\"}");
  const auto invalid = ConfigStore::CreateObject(kTimeSource, "{\"method\":1,\"drift_ppm\":1.5}");
  const std::string wrong =
      "invalid; /earlier: kept; /method: INCORRECT TYPE: expected string.; /drift_ppm: Non user property not allowed.";
  const std::string unknown = "invalid; /earlier: kept; /prefix/component c group g key k: Schema not found.";
  EXPECT_EQ("valid; /earlier: kept", Validated(valid, ACTION_SET));
  EXPECT_EQ("validate completed successfully", log.Lines().back());
  for (const ACTION action : {ACTION_NONE, ACTION_DELETE, ACTION_SET, ACTION_UPDATE}) {
    const bool writes = action == ACTION_SET || action == ACTION_UPDATE;
    EXPECT_EQ(writes ? wrong : "valid; /earlier: kept", Validated(invalid, action));
    EXPECT_EQ(writes, log.Lines().back() == "validate completed with errors");
    EXPECT_EQ(unknown, Validated(ObjectOf("{}"), action));
  }
  EXPECT_EQ("[1037]Schema object not found: component c group g key k", log.Lines().back());
}

// A document, and what is wrong with it as user configuration; imports are tested as a whole.
// clang-format off
const std::pair<const char*, const char*> kDocumentCases[] = {
    {"{'components':{}}", ""},
    {"{'components':{'netd':{'ipstack':{'stack_settings':{'hostname':'n'}}}}}", ""},
    {"{'components':{},'x':1}", ": Additional property not allowed: x"},
    {"{'components':{'netd':{'ipstack':{'stack_settings':{'mtu':1}}}}}",
     "/components/netd/ipstack/stack_settings: Required property missing: hostname"},
    {"{'components':{'netd':{'ipstack':{'stack_settings':{'hostname':'n','learned_domain':'d'}}}}}",
     "/components/netd/ipstack/stack_settings/learned_domain: Non user property not allowed."},
    {"{}", "2000 Invalid JSON"},
    {"{'components':[]}", "2000 Invalid JSON"},
};
// clang-format on

TEST(DocumentRules, DocumentsAreValidatedWithTheSchemasOfTheirTypes) {
  const TestStore store;
  for (const auto& [document, expected] : kDocumentCases) {
    const auto object = ConfigStore::CreateObject({"document", "g", "c"}, Quoted(document));
    std::vector<ErrorInfo> errors;
    bool isValid = false;
    std::string found = Thrown([&] { isValid = ValidateDocument(object, errors); });
    EXPECT_EQ(isValid, found.empty() && errors.empty());
    for (const ErrorInfo& info : errors) found += info.field + ": " + info.error;
    EXPECT_EQ(expected, found) << document;
  }
}
