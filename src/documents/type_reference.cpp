#include <cctype>
#include <memory>

#include "api/checks.h"
#include "configstore/inspect.h"
#include "configstore/schema_tools.h"

namespace OrvoConfigStore {
namespace {

/// A page in the making. Texts are plain; each format escapes them in its way.
class Page {
 public:
  virtual ~Page() = default;
  virtual void Begin(const std::string& name, const std::string& version, const std::string& summary) = 0;
  virtual void Section(const std::string& heading) = 0;
  virtual void Paragraph(const std::string& text) = 0;
  /// A field's path, what it is in a few words, and a line for each thing to know.
  virtual void Field(const std::string& path, const std::string& facts, const std::vector<std::string>& lines) = 0;

  std::string text;
};

class MarkdownPage final : public Page {
 public:
  void Begin(const std::string& name, const std::string& version, const std::string& summary) override {
    text += "# " + Escape(name) + "\n\n";
    if (!summary.empty()) text += Escape(summary) + "\n\n";
    text += "Version " + Escape(version) + ".\n";
  }
  void Section(const std::string& heading) override { text += "\n## " + heading + "\n"; }
  void Paragraph(const std::string& paragraph) override { text += "\n" + Escape(paragraph) + "\n"; }
  void Field(const std::string& path, const std::string& facts, const std::vector<std::string>& lines) override {
    text += "\n### " + Escape(path) + "\n\n" + Escape(facts) + "\n";
    if (!lines.empty()) text += "\n";
    for (const std::string& line : lines) text += "- " + Escape(line) + "\n";
  }

 private:
  static std::string Escape(const std::string& plain) {
    constexpr char kMarkup[] = "\\`*_[]<>&|#~";
    std::string escaped;
    for (const char c : plain) {
      if (std::string(kMarkup).find(c) != std::string::npos) escaped += '\\';
      escaped += c == '\n' ? ' ' : c;
    }
    return escaped;
  }
};

class ManPage final : public Page {
 public:
  void Begin(const std::string& name, const std::string& version, const std::string& summary) override {
    text += ".TH \"" + Escape(name) + "\" 5 \"\" \"version " + Escape(version) + "\" \"Configuration types\"\n";
    text += ".SH NAME\n" + Escape(name) + " \\- " + Escape(summary.empty() ? "configuration type" : summary) + "\n";
  }
  void Section(const std::string& heading) override {
    text += ".SH ";
    for (const char c : heading) text += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    text += "\n";
  }
  void Paragraph(const std::string& paragraph) override { text += ".PP\n" + Escape(paragraph) + "\n"; }
  void Field(const std::string& path, const std::string& facts, const std::vector<std::string>& lines) override {
    text += ".TP\n.B \"" + Escape(path) + "\"\n" + Escape(facts) + "\n";
    for (const std::string& line : lines) text += ".br\n" + Escape(line) + "\n";
  }

 private:
  // A line that begins with a dot or a quote would be a request.
  static std::string Escape(const std::string& plain) {
    std::string escaped = plain.empty() || (plain[0] != '.' && plain[0] != '\'') ? "" : "\\&";
    for (const char c : plain) {
      if (c == '\\') {
        escaped += "\\e";
      } else if (c == '"') {
        escaped += "\\(dq";
      } else if (c == '-') {
        escaped += "\\-";
      } else {
        escaped += c == '\n' ? ' ' : c;
      }
    }
    return escaped;
  }
};

struct CategoryText {
  const char* category;
  const char* text;
};
const CategoryText kCategories[] = {
    {"user", "user: what an outside caller or the automatic configuration sets."},
    {"vital", "vital: set apart from user values, and kept by writes of these."},
    {"cached", "cached: likewise; what the host has found out by itself."},
    {"identifier", "identifier: names an instance and belongs to every category."},
};

std::string FactsOf(const FieldDescription& field) {
  return field.type + ", " + field.category + (field.required ? ", required" : "");
}

std::vector<std::string> LinesOf(const FieldDescription& field) {
  std::vector<std::string> lines;
  for (const std::string* text : {&field.title, &field.description}) {
    if (!text->empty()) lines.push_back(*text);
  }
  lines.insert(lines.end(), field.rules.begin(), field.rules.end());
  if (field.defaultValue) lines.push_back("default: " + *field.defaultValue);
  return lines;
}

void Write(Page& page, const ConfigStoreObjectId& type, const SchemaObject& schema,
           const std::vector<FieldDescription>& fields) {
  const FieldDescription& root = fields.front();
  page.Begin(type.component + "/" + type.group + "/" + type.key, schema.GetVersion(), root.title);
  page.Section("Description");
  if (!root.description.empty()) page.Paragraph(root.description);
  page.Paragraph(schema.IsSingleton()     ? "A host has one object of this type."
                 : schema.IsGeneratedId() ? "The type has instances, each named by the store."
                                          : "The type has " + root.rules.front() + ".");
  page.Section("Fields");
  for (const FieldDescription& field : fields) {
    if (!field.path.empty()) page.Field(field.path, FactsOf(field), LinesOf(field));
  }
  page.Section("Categories");
  for (const CategoryText& category : kCategories) page.Paragraph(category.text);
}

}  // namespace

std::string TypeReference(const ConfigStoreObjectId& type, PageFormat format) {
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(type);
  CheckSchema(type, schema);
  std::unique_ptr<Page> page;
  if (format == PageFormat::MARKDOWN) {
    page = std::make_unique<MarkdownPage>();
  } else {
    page = std::make_unique<ManPage>();
  }
  Write(*page, type, *schema, DescribeType(type));
  return page->text;
}

}  // namespace OrvoConfigStore
