#include "documents/document_stream.h"

#include <optional>
#include <string>

#include <rapidjson/prettywriter.h>

#include "api/secrets.h"

namespace OrvoConfigStore {
namespace {

constexpr size_t kPartBytes = size_t{64} << 10;

struct Buffer {
  using Ch = char;
  std::string text;
  void Put(char c) { text.push_back(c); }
  void Flush() {}
};

template <class Writer>
class StreamOver final : public DocumentStream {
 public:
  explicit StreamOver(const DocumentSink& sink) : sink_(sink), writer_(buffer_) {
    writer_.StartObject();
    writer_.Key("components");
    writer_.StartObject();
  }

  void Add(const ConfigStoreObjectId& id, bool isSingleton, const JsonValue& data) override {
    Enter(id, isSingleton);
    if (!data.Accept(writer_)) ThrowInvalidJson();
    if (buffer_.text.size() >= kPartBytes) HandOver();
  }

  void Finish() override {
    Leave(kAll);
    writer_.EndObject();
    writer_.EndObject();
    HandOver();
  }

 private:
  // How many of key, group and component end before the next object.
  static constexpr int kNone = 0, kKey = 1, kGroup = 2, kAll = 3;

  int EndsBefore(const ConfigStoreObjectId& id) const {
    if (id.component != current_->component) return kAll;
    if (id.group != current_->group) return kGroup;
    return id.key != current_->key ? kKey : kNone;
  }

  void Leave(int levels) {
    if (!current_.has_value() || levels == kNone) return;
    if (inArray_) writer_.EndArray();
    for (int level = kGroup; level <= levels; ++level) writer_.EndObject();
  }

  void Enter(const ConfigStoreObjectId& id, bool isSingleton) {
    const int levels = current_.has_value() ? EndsBefore(id) : kAll;
    Leave(levels);
    if (levels == kAll) Open(id.component);
    if (levels >= kGroup) Open(id.group);
    if (levels >= kKey) {
      Key(id.key);
      if (!isSingleton) writer_.StartArray();
      inArray_ = !isSingleton;
    }
    current_ = id;
  }

  void Open(const std::string& name) {
    Key(name);
    writer_.StartObject();
  }
  void Key(const std::string& name) { writer_.Key(name.data(), static_cast<rapidjson::SizeType>(name.size())); }

  void HandOver() {
    sink_(buffer_.text);
    buffer_.text.clear();
  }

  const DocumentSink& sink_;
  Buffer buffer_;
  Writer writer_;
  std::optional<ConfigStoreObjectId> current_;
  bool inArray_ = false;
};

using Utf8 = rapidjson::UTF8<char>;

/// Indents by two blanks.
class IndentingWriter : public rapidjson::PrettyWriter<Buffer, Utf8, Utf8, JsonHeap> {
 public:
  explicit IndentingWriter(Buffer& buffer) : PrettyWriter(buffer) { SetIndent(' ', 2); }
};

}  // namespace

std::unique_ptr<DocumentStream> DocumentStream::Make(const DocumentSink& sink, DOCUMENT_LAYOUT layout) {
  if (layout == LAYOUT_INDENTED) return std::make_unique<StreamOver<IndentingWriter>>(sink);
  return std::make_unique<StreamOver<rapidjson::Writer<Buffer, Utf8, Utf8, JsonHeap>>>(sink);
}

void ApplySecrets(EXPORT_SECRETS secrets, JsonValue& data, const JsonValue& node) {
  if (secrets == SECRETS_MASKED) MaskSecretValues(data, node);
  if (secrets == SECRETS_OMITTED) OmitSecretValues(data, node);
}

}  // namespace OrvoConfigStore
