#pragma once

#include <memory>
#include <string>
#include <vector>

#include "configstore/export.h"
#include "configstore/json_document.h"
#include "configstore/object_id.h"

namespace OrvoConfigStore {

/// What every data-carrying object is: an identity and a JSON object.
///
/// A key is always the name of one member, never a path; a member whose value
/// is null counts as absent. Objects live in shared pointers of their own type:
/// the destructor is not virtual.
class CONFIGSTORE_API BaseObject : public std::enable_shared_from_this<BaseObject> {
 public:
  /// An object without members.
  explicit BaseObject(const ConfigStoreObjectId& id);
  /// A deep copy of the JsonValue at `value`; as above when that is null.
  BaseObject(const ConfigStoreObjectId& id, void* value);
  BaseObject(const BaseObject&) = delete;
  BaseObject& operator=(const BaseObject&) = delete;
  ~BaseObject();

  /// Returns the object's data, shared.
  virtual std::shared_ptr<JsonDoc> GetJsonDocPtr() const;
  /// Returns the member `key`, or null when it is absent. Throws
  /// InvalidArgumentException(2000) for an empty key.
  virtual const JsonValue* GetValuePtr(const char* key) const;
  /// As GetValuePtr; objects with defaults fall back to them, which `isDefault` tells.
  virtual const JsonValue* GetValuePtrDefault(const char* key, bool& isDefault) const;

  const ConfigStoreObjectId& GetId() const;

  /// Replaces the data by the parsed text; null does nothing. A nested object
  /// then no longer shares its parent's document. Throws
  /// InvalidArgumentException(1080) for a bad text and keeps the old data.
  void SetData(const char* json);

  /// Returns the data as compact JSON text.
  std::string GetData() const;

 protected:
  BaseObject(const ConfigStoreObjectId& id, std::shared_ptr<JsonDoc> doc);

  ConfigStoreObjectId id_;
  std::shared_ptr<JsonDoc> doc_;
};

/// Typed reading. Every getter returns 0 when the key is absent (the output is
/// untouched), 1 when the data has it, 2 when only the defaults have it.
/// A value of another JSON type throws InvalidTypeException(2000).
class CONFIGSTORE_API ReadOnlyObject : public BaseObject {
 public:
  using BaseObject::BaseObject;

  /// Deliberate: a text is read up to its first NUL.
  int GetValue(const char* key, std::string* value) const;
  /// Deliberate: takes only numbers written with a fraction or an exponent; 5 is refused.
  int GetValue(const char* key, double* value) const;
  int GetValue(const char* key, int* value) const;
  int GetValue(const char* key, long* value) const;
  int GetValue(const char* key, long long* value) const;
  int GetValue(const char* key, unsigned int* value) const;
  /// Deliberate: takes any 32-bit unsigned number and keeps its low 16 bits.
  int GetValue(const char* key, unsigned short* value) const;
  /// Deliberate: takes any 32-bit unsigned number and keeps its low 8 bits.
  int GetValue(const char* key, unsigned char* value) const;
  int GetValue(const char* key, bool* value) const;

  /// Lists. The output must be empty, else InvalidArgumentException(2000). An
  /// element of another type throws ConfigStoreException(2000, "Invalid JSON");
  /// the elements before it are then in the output.
  int GetValue(const char* key, std::vector<bool>* values) const;
  int GetValue(const char* key, std::vector<int>* values) const;
  int GetValue(const char* key, std::vector<long long>* values) const;
  int GetValue(const char* key, std::vector<double>* values) const;
  int GetValue(const char* key, std::vector<std::string>* values) const;

  /// Reads a base64 text as bytes. `*data` is freed by the caller with delete[].
  /// Throws ConfigStoreException(2000) when the text is not base64.
  int GetValueBinary(const char* key, unsigned char** data, unsigned long* length) const;

 protected:
  /// Reads a list through `element`, a getter of the JSON value.
  template <class T, class Element>
  int GetValueVector(const char* key, std::vector<T>* values, Element element) const;

 private:
  template <class T, class Test, class Convert>
  int GetScalar(const char* key, T* value, Test test, Convert convert) const;
};

/// Typed writing. A member that exists is overwritten in place whatever its
/// type; a new one goes to the end. An empty key throws
/// InvalidArgumentException(2000). A failed setter changes nothing.
class CONFIGSTORE_API WritableObject : public ReadOnlyObject {
 public:
  using ReadOnlyObject::ReadOnlyObject;

  /// Deliberate: where a member of that name is null a second one is added
  /// behind it, and the getters still report the key absent.
  void SetValue(const char* key, int value);
  void SetValue(const char* key, long value);
  void SetValue(const char* key, long long value);
  void SetValue(const char* key, unsigned int value);
  void SetValue(const char* key, unsigned short value);
  void SetValue(const char* key, unsigned char value);
  /// Throws InvalidArgumentException(2000) for NaN and infinity, as do all that take a double.
  void SetValue(const char* key, double value);
  void SetValue(const char* key, float value);
  void SetValue(const char* key, bool value);
  /// Throws InvalidArgumentException(2000) for a null value.
  void SetValue(const char* key, const char* value);
  void SetValue(const char* key, const std::string& value);

  /// Replaces the member by a list. T is int or std::string.
  template <class T>
  void SetValue(const char* key, const std::vector<T>& values);

  /// Replaces the member by an empty list, at the end of the object.
  void SetValueEmptyList(const char* key);

  /// Appends to a list. The first element decides the type of the list: another
  /// type throws InvalidTypeException(2000), a missing list InvalidArgumentException(2000).
  void AppendValue(const char* key, int value);
  void AppendValue(const char* key, long long value);
  void AppendValue(const char* key, double value);
  void AppendValue(const char* key, bool value);
  void AppendValue(const char* key, const char* value);
  void AppendValue(const char* key, const std::string& value);

  /// Throws unless the member is a list that is empty or begins with an element
  /// for which `isType` holds.
  void ValidateAppend(const char* key, bool (JsonValue::*isType)() const) const;

  /// Whether there is a member `key`, null or not. A missing one is logged at priority 0.
  bool CheckKey(const char* key) const;

  /// Removes the member and tells whether there was one.
  /// Deliberate: the last member moves into the freed place.
  bool Remove(const char* key);

  /// Stores bytes as base64 text. Throws InvalidArgumentException(2000) for a
  /// null pointer or no bytes.
  void SetValueBinary(const char* key, const unsigned char* data, unsigned long length);

 protected:
  /// Overwrites or adds the member; `value` is moved from.
  void PutValue(const char* key, JsonValue& value);

 private:
  void PushElement(const char* key, bool (JsonValue::*isType)() const, JsonValue& value);
};

extern template CONFIGSTORE_API void WritableObject::SetValue<int>(const char*, const std::vector<int>&);
extern template CONFIGSTORE_API void WritableObject::SetValue<std::string>(const char*,
                                                                           const std::vector<std::string>&);

}  // namespace OrvoConfigStore
