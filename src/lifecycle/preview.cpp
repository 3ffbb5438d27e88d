#include <algorithm>
#include <map>
#include <string>
#include <tuple>

#include "api/boot_state.h"
#include "configstore/errors.h"
#include "configstore/lifecycle.h"
#include "lifecycle/load_steps.h"
#include "platform/host_settings.h"
#include "store/rows.h"
#include "store/statements.h"

namespace OrvoConfigStore {
namespace {

using Text = std::optional<std::string>;

// What of a row concerns its owner.
struct Pending {
  Text user;
  Text desired;
  bool isConfirmed = true;
};

// By component, group, key and instance, the order of a listing.
using Name = std::tuple<std::string, std::string, std::string, std::string>;
using Rows = std::map<Name, Pending>;

Text Layer(const RowMap& row, const char* column) {
  const std::string* text = row.Find(column);
  return text == nullptr ? Text() : Text(*text);
}

Rows ReadRows(const Connection& connection) {
  Rows rows;
  const bool done = ForEachRow(connection, Sql::kReadPending, [&rows](RowMap&& row) {
    const Name name(row.Text(kComponent), row.Text(kGroup), row.Text(kName), row.Text(kIdentifier));
    rows[name] = {Layer(row, kUserValue), Layer(row, kDesiredValue), row.Text(kSuccess) == "1"};
  });
  if (!done) throw ConfigStoreException(CS_GENERAL, ("Get failed: " + DBStore::LastFailure().message).c_str());
  return rows;
}

// The rows after each of the steps.
struct Course {
  Rows before;
  Rows cleaned;
  Rows after;
};

bool IsChange(const BootChange& change) {
  return change.userBefore != change.userAfter || change.desiredLost.has_value() || !change.isConfirmed ||
         !change.wasConfirmed;
}

BootChange ChangeOf(const Name& name, const Course& course) {
  const auto& [component, group, key, instanceId] = name;
  const auto before = course.before.find(name);
  const auto after = course.after.find(name);
  BootChange change{ConfigStoreObjectId(key, group, component, instanceId), {}, {}, {}, true, true};
  if (before != course.before.end()) {
    change.userBefore = before->second.user;
    change.wasConfirmed = before->second.isConfirmed;
    if (course.cleaned.count(name) == 0) change.desiredLost = before->second.desired;
  }
  if (after != course.after.end()) {
    change.userAfter = after->second.user;
    change.isConfirmed = after->second.isConfirmed;
  }
  return change;
}

std::vector<BootChange> ChangesOf(const Course& course) {
  Rows all = course.before;
  all.insert(course.after.begin(), course.after.end());
  std::vector<BootChange> changes;
  for (const auto& [name, row] : all) {
    BootChange change = ChangeOf(name, course);
    if (IsChange(change)) changes.push_back(std::move(change));
  }
  return changes;
}

// Runs the steps on a copy of the store, which may leave out what they do not change.
BootPreview PreviewOn(const Connection& copy) {
  if (copy == nullptr) {
    throw ConfigStoreException(CS_GENERAL, ("Cannot preview: " + DBStore::LastFailure().message).c_str());
  }
  HaldenLib::FeatureState_Init();
  const bool appliesStaged = GetKVInternal(kApplyBootKey, copy) == "true";
  Course course;
  course.before = ReadRows(copy);
  if (HaldenLib::FeatureState_IsEnabled(HaldenLib::kFeatureStore)) CleanupAutoConfigInternal(copy);
  course.cleaned = ReadRows(copy);
  if (appliesStaged) ApplyStagedInternal(copy);
  ResetSuccessInternal(copy);
  course.after = ReadRows(copy);
  return {appliesStaged, ChangesOf(course)};
}

bool IsLoss(const BootChange& change) {
  return change.desiredLost.has_value() || (change.userBefore && change.userBefore != change.userAfter);
}

}  // namespace

BootPreview PreviewBoot() {
  return PreviewOn(DBStore::OpenPrivateCopy());
}

std::vector<BootChange> PreviewBootLosses() {
  constexpr char kStaged[] = "Component, ConfigGroup, Name, Identifier, Value";
  constexpr char kObjects[] =
      "Component, ConfigGroup, Name, Identifier, UserValue, VitalValue, CachedValue, DesiredValue, Success";
  const Connection copy = DBStore::OpenPrivateCopyOf({{"KVTable", "Key, Value", ""},
                                                      {kDesiredUserConfigTable, kStaged, Sql::kOfAnApplyBoot},
                                                      {"Config", kObjects, Sql::kOfALossyLoad}});
  std::vector<BootChange> changes = PreviewOn(copy).changes;
  changes.erase(std::remove_if(changes.begin(), changes.end(), [](const auto& each) { return !IsLoss(each); }),
                changes.end());
  return changes;
}

}  // namespace OrvoConfigStore
