// The part of the Python package that is not Python: texts and names go in and
// out, what they mean is the library's business.

#include <configstore/configstore.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace py = pybind11;

namespace {

using namespace OrvoConfigStore;

using ObjectPtr = std::shared_ptr<ConfigStoreObject>;
using Objects = std::vector<ObjectPtr>;

// --- values ------------------------------------------------------------------

// Texts of the store are bytes: Python decides what becomes of broken UTF-8.
py::object Bytes(const std::optional<std::string>& text) {
  return text ? py::object(py::bytes(*text)) : py::none();
}

py::tuple Parts(const ConfigStoreObjectId& id) {
  return py::make_tuple(py::bytes(id.component), py::bytes(id.group), py::bytes(id.key), py::bytes(id.instanceId));
}

using PartTexts = std::tuple<std::string, std::string, std::string, std::string>;

ConfigStoreObjectId IdOf(const PartTexts& parts) {
  return {std::get<2>(parts), std::get<1>(parts), std::get<0>(parts), std::get<3>(parts)};
}

py::list Rows(const Objects& objects) {
  py::list rows;
  for (const ObjectPtr& object : objects)
    rows.append(py::make_tuple(Parts(object->GetId()), py::bytes(object->GetData())));
  return rows;
}

std::shared_ptr<FilterSpecObject> FilterOf(const ConfigStoreObjectId& type, const std::string& pattern) {
  ConfigStore::CreateObject(type, pattern);  // refuses what is no object
  return std::make_shared<FilterSpecObject>(type, CreateDocumentFromString(pattern));
}

// --- failures ----------------------------------------------------------------

/// There is no store file: the library says so with an empty pointer.
class StoreMissing : public ConfigStoreException {
 public:
  StoreMissing() : ConfigStoreException(CS_GENERAL, "There is no store.") {}
};

void Raise(const char* kind, const ConfigStoreException& error, const std::vector<ErrorInfo>& violations) {
  StorageError storage = LastStorageError();
  if (dynamic_cast<const StoreMissing*>(&error) != nullptr) storage = {StorageError::MISSING, ""};
  py::list listed;
  for (const ErrorInfo& violation : violations) {
    listed.append(py::make_tuple(py::bytes(violation.field), py::bytes(violation.error)));
  }
  const py::object type = py::module_::import("configstore._errors").attr(kind);
  const py::object raised = type.attr("_of")(py::bytes(error.what()), error.GetErrorCode(), listed,
                                             static_cast<int>(storage.kind), py::bytes(storage.message));
  PyErr_SetObject(type.ptr(), raised.ptr());
}

void Translate(std::exception_ptr pending) {
  try {
    if (pending) std::rethrow_exception(std::move(pending));
  } catch (const ValidationException& error) {
    Raise("ValidationError", error, error.GetErrors());
  } catch (const InvalidArgumentException& error) {
    Raise("InvalidArgumentError", error, {});
  } catch (const InvalidTypeException& error) {
    Raise("InvalidTypeError", error, {});
  } catch (const ConfigStoreException& error) {
    Raise("ConfigStoreError", error, {});
  }
}

// --- the store ---------------------------------------------------------------

/// A handle that Python's threads share: the library wants one at a time, and
/// Python goes on meanwhile.
class NativeStore {
  // The order matters: the mutex is given back before Python is waited for.
  template <class Action>
  auto Use(Action action) {
    const py::gil_scoped_release others;
    const std::lock_guard<std::mutex> alone(mutex_);
    if (store_ == nullptr) throw InvalidArgumentException(CS_GENERAL, "The store is closed.");
    return action(*store_);
  }

 public:
  NativeStore() {
    const py::gil_scoped_release others;
    store_ = ConfigStore::GetStore("");
    const StorageError error = LastStorageError();
    if (store_ == nullptr) throw StoreMissing();
    if (error.kind != StorageError::NONE) {
      throw ConfigStoreException(CS_GENERAL, ("The store cannot be opened: " + error.message).c_str());
    }
  }

  void Close() {
    const py::gil_scoped_release others;
    const std::lock_guard<std::mutex> alone(mutex_);
    store_.reset();
  }

  py::object Get(const PartTexts& id) {
    const ObjectPtr object = Use([&](ConfigStore& store) { return store.Get(IdOf(id)); });
    return object == nullptr ? py::object(py::none()) : py::bytes(object->GetData());
  }

  py::list Instances(const PartTexts& type, const std::string& pattern) {
    return Rows(Use([&](ConfigStore& store) { return store.GetInstances(FilterOf(IdOf(type), pattern)); }));
  }

  void Set(const PartTexts& id, const std::string& json, uint32_t context) {
    Use([&](ConfigStore& store) { store.Set(ConfigStore::CreateObject(IdOf(id), json), {context}); });
  }

  void Update(const PartTexts& id, const std::string& json, uint32_t context) {
    Use([&](ConfigStore& store) { store.Update(ConfigStore::CreateObject(IdOf(id), json), {context}); });
  }

  /// Stores each element of an array as an instance of its own; returns their names.
  py::list Add(const PartTexts& type, const std::string& json, uint32_t context) {
    const Objects added = Use([&](ConfigStore& store) {
      Objects objects = ConfigStore::CreateInstances(IdOf(type), json);
      for (const ObjectPtr& object : objects) store.Set(object, {context});
      return objects;
    });
    py::list names;
    for (const ObjectPtr& object : added) names.append(Parts(object->GetId()));
    return names;
  }

  void Replace(const PartTexts& type, const std::string& json, uint32_t context) {
    Use([&](ConfigStore& store) { store.SetInstances(ConfigStore::CreateInstances(IdOf(type), json), {context}); });
  }

  void Delete(const PartTexts& id) {
    Use([&](ConfigStore& store) { store.Delete(IdOf(id)); });
  }

  void DeleteInstances(const PartTexts& type, const std::string& pattern) {
    Use([&](ConfigStore& store) { store.DeleteInstances(FilterOf(IdOf(type), pattern)); });
  }

  void Begin() {
    const int result = Use([](ConfigStore& store) { return store.BeginTransaction(); });
    if (result != 0) throw ConfigStoreException(CS_GENERAL, "Failed to start a transaction.");
  }

  void Commit() {
    Use([](ConfigStore& store) { store.CommitTransaction(); });
  }

  void Cancel() {
    Use([](ConfigStore& store) { store.CancelTransaction(); });
  }

 private:
  std::mutex mutex_;
  std::shared_ptr<ConfigStore> store_;
};

class NativeWatcher {
 public:
  explicit NativeWatcher(const std::vector<PartTexts>& selection) : watcher_(Selection(selection)) {}

  py::list Poll() {
    const std::vector<ConfigChange> found = [this] {
      const py::gil_scoped_release others;
      const std::lock_guard<std::mutex> alone(mutex_);
      return watcher_.Poll();
    }();
    py::list changes;
    for (const ConfigChange& change : found)
      changes.append(py::make_tuple(static_cast<int>(change.kind), Parts(change.id)));
    return changes;
  }

 private:
  static std::vector<ConfigStoreObjectId> Selection(const std::vector<PartTexts>& parts) {
    std::vector<ConfigStoreObjectId> ids;
    for (const PartTexts& part : parts) ids.push_back(IdOf(part));
    return ids;
  }

  std::mutex mutex_;
  ConfigWatcher watcher_;
};

// --- functions ---------------------------------------------------------------

/// Runs what may wait for the disk while Python goes on.
template <class Action>
auto WithoutPython(Action action) {
  const py::gil_scoped_release others;
  return action();
}

py::dict FieldOf(const FieldOrigin& field) {
  py::list shadowed;
  for (const LayerValue& value : field.shadowed) shadowed.append(py::make_tuple(value.layer, py::bytes(value.value)));
  py::dict fields;
  fields["path"] = py::bytes(field.path);
  fields["secret"] = field.secret;
  fields["effective"] = Bytes(field.effective);
  fields["layer"] = field.layer;
  fields["shadowed"] = shadowed;
  fields["unconfirmed"] = Bytes(field.unconfirmed);
  fields["desired"] = Bytes(field.desired);
  fields["staged"] = Bytes(field.staged);
  fields["schema_default"] = Bytes(field.schemaDefault);
  fields["package_default"] = Bytes(field.packageDefault);
  return fields;
}

py::dict Explain(const PartTexts& id) {
  const ObjectExplanation known = WithoutPython([&] { return ExplainObject(IdOf(id)); });
  py::list fields, damaged;
  for (const FieldOrigin& field : known.fields) fields.append(FieldOf(field));
  for (const DamagedValue& value : known.damaged) damaged.append(py::make_tuple(value.layer, value.reason));
  py::dict explanation;
  explanation["stored"] = known.stored;
  explanation["confirmed"] = known.confirmed;
  explanation["staged"] = known.staged;
  explanation["version"] = known.version;
  explanation["schema_version"] = known.schemaVersion;
  explanation["read_failure"] = py::bytes(known.readFailure);
  explanation["damaged"] = damaged;
  explanation["fields"] = fields;
  return explanation;
}

py::object Pending(const PartTexts& id) {
  const ObjectPtr object = WithoutPython([&] { return GetDesiredUserConfig(IdOf(id)); });
  return object == nullptr ? py::object(py::none()) : py::bytes(object->GetData());
}

void DefineFunctions(py::module_& module) {
  module.def("set_host_root", [](const std::string& root) { SetHostRoot(root); });
  module.def("create_databases", [] { WithoutPython([] { CreateDatabases(); }); });
  module.def("register_schema_files", [](const std::vector<std::string>& paths) {
    WithoutPython([&] { return RegisterSchemaFiles(paths).size(); });
  });
  module.def("parse_object_name", [](const std::string& text) { return Parts(ParseObjectName(text)); });
  module.def("object_name", [](const PartTexts& id) { return py::bytes(ObjectName(IdOf(id))); });
  module.def("explain", Explain);
  module.def("pending", Pending);
  module.def("is_boot", [] { return WithoutPython([] { return IsBoot(); }); });
  module.def("confirm", [](const PartTexts& id) { WithoutPython([&] { SetBootStatus(IdOf(id), true); }); });
}

}  // namespace

PYBIND11_MODULE(_native, module) {
  py::register_exception_translator(Translate);
  module.attr("SECRET_MASK") = py::str(std::string(kSecretMask));
  py::class_<NativeStore>(module, "NativeStore")
      .def(py::init<>())
      .def("close", &NativeStore::Close)
      .def("get", &NativeStore::Get)
      .def("instances", &NativeStore::Instances)
      .def("set", &NativeStore::Set)
      .def("update", &NativeStore::Update)
      .def("add", &NativeStore::Add)
      .def("replace", &NativeStore::Replace)
      .def("delete", &NativeStore::Delete)
      .def("delete_instances", &NativeStore::DeleteInstances)
      .def("begin", &NativeStore::Begin)
      .def("commit", &NativeStore::Commit)
      .def("cancel", &NativeStore::Cancel);
  py::class_<NativeWatcher>(module, "NativeWatcher")
      .def(py::init<const std::vector<PartTexts>&>())
      .def("poll", &NativeWatcher::Poll);
  DefineFunctions(module);
}
