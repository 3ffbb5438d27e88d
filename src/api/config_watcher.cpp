#include <cstdint>
#include <map>
#include <optional>
#include <tuple>
#include <utility>

#include "configstore/errors.h"
#include "configstore/host.h"
#include "configstore/watch.h"
#include "platform/sql_format.h"
#include "store/connection.h"
#include "store/rows.h"
#include "store/statements.h"

namespace OrvoConfigStore {
namespace {

using Connection = std::shared_ptr<DBStore::StoreConnection>;

/// A digest of 128 bits, FNV-1a: two states of a row do not share one by chance.
class Digest {
 public:
  void Add(const std::string* text) {
    // The length goes first, so that a text cannot pass from one column to the next.
    AddBytes(text == nullptr ? "-" : std::to_string(text->size()) + ":");
    if (text != nullptr) AddBytes(*text);
  }
  bool operator!=(const Digest& other) const { return value_ != other.value_; }

 private:
  __extension__ using Wide = unsigned __int128;
  static constexpr Wide kBasis = Wide{0x6c62272e07bb0142} << 64 | 0x62b821756295c58d;
  static constexpr Wide kPrime = Wide{1} << 88 | 0x13b;

  void AddBytes(const std::string& bytes) {
    for (const char byte : bytes) value_ = (value_ ^ static_cast<unsigned char>(byte)) * kPrime;
  }

  Wide value_ = kBasis;
};

struct IdOrder {
  bool operator()(const ConfigStoreObjectId& a, const ConfigStoreObjectId& b) const {
    return std::tie(a.component, a.group, a.key, a.instanceId) < std::tie(b.component, b.group, b.key, b.instanceId);
  }
};
using Digests = std::map<ConfigStoreObjectId, Digest, IdOrder>;

constexpr const char* kDigestedColumns[] = {kVersion,     kAutoConfValue, kUserValue, kVitalValue,
                                            kCachedValue, kDesiredValue,  kSuccess};

std::string RowsOf(const ConfigStoreObjectId& selected) {
  const std::pair<const char*, const std::string*> parts[] = {{kComponent, &selected.component},
                                                              {kGroup, &selected.group},
                                                              {kName, &selected.key},
                                                              {kIdentifier, &selected.instanceId}};
  std::string sql = Sql::kReadRows;
  const char* joint = " WHERE ";
  for (const auto& [column, part] : parts) {
    if (part->empty()) continue;
    sql += joint + FormatSql("%s='%s'", {column, *part});
    joint = " and ";
  }
  return sql + ";";
}

/// Adds the digests of the rows that `selected` names; false when they cannot be read.
bool ReadDigests(const ConfigStoreObjectId& selected, const Connection& connection, Digests& digests) {
  return ForEachRow(connection, RowsOf(selected), [&digests](RowMap&& row) {
    Digest digest;
    for (const char* column : kDigestedColumns) digest.Add(row.Find(column));
    digests.insert_or_assign({row.Text(kName), row.Text(kGroup), row.Text(kComponent), row.Text(kIdentifier)}, digest);
  });
}

std::vector<ConfigChange> Compare(const Digests& before, const Digests& now) {
  std::vector<ConfigChange> changes;
  auto old = before.begin();
  for (const auto& [id, digest] : now) {
    for (; old != before.end() && IdOrder()(old->first, id); ++old) {
      changes.push_back({ConfigChange::DELETED, old->first});
    }
    const bool isOld = old != before.end() && old->first == id;
    if (!isOld) changes.push_back({ConfigChange::CREATED, id});
    if (isOld && digest != old->second) changes.push_back({ConfigChange::CHANGED, id});
    if (isOld) ++old;
  }
  for (; old != before.end(); ++old) changes.push_back({ConfigChange::DELETED, old->first});
  return changes;
}

}  // namespace

class ConfigWatcher::Impl {
 public:
  explicit Impl(std::vector<ConfigStoreObjectId> selection) : selection_(std::move(selection)) {
    if (selection_.empty()) selection_.push_back(ConfigStoreObjectId("", "", ""));
  }

  // 1. Has anything been committed since the rows were last read?
  // 2. If so, the rows are read. The state was read before them, so a commit in
  //    between shows as another state at the next poll.
  // 3. What was read is known only once it has been compared: a failure anywhere
  //    leaves it all to the next poll.
  std::vector<ConfigChange> Poll() {
    DBStore::DataState state;
    if (!Look(&state)) return GiveUp();
    if (seen_.has_value() && *seen_ == state) return {};
    Digests now;
    for (const ConfigStoreObjectId& selected : selection_) {
      if (!ReadDigests(selected, connection_, now)) return GiveUp();
    }
    std::vector<ConfigChange> changes = Compare(known_, now);
    known_ = std::move(now);
    seen_ = std::move(state);
    return changes;
  }

 private:
  bool Look(DBStore::DataState* state) {
    if (connection_ == nullptr) connection_ = GetConn();
    return DBStore::ReadDataState(connection_, state) == 0;
  }

  // The connection goes, and with it every page that it read of a file which was
  // perhaps still being copied.
  std::vector<ConfigChange> GiveUp() {
    const StorageError error = LastStorageError();
    connection_ = nullptr;
    seen_.reset();
    if (error.kind == StorageError::MISSING) return {};
    throw ConfigStoreException(CS_GENERAL, ("Watching failed: " + error.message).c_str());
  }

  std::vector<ConfigStoreObjectId> selection_;
  Connection connection_;
  std::optional<DBStore::DataState> seen_;  // when `known_` was read; empty: not by this connection
  Digests known_;
};

ConfigWatcher::ConfigWatcher(std::vector<ConfigStoreObjectId> selection)
    : impl_(std::make_unique<Impl>(std::move(selection))) {
  impl_->Poll();
}

ConfigWatcher::ConfigWatcher(ConfigWatcher&& other) noexcept = default;
ConfigWatcher& ConfigWatcher::operator=(ConfigWatcher&& other) noexcept = default;
ConfigWatcher::~ConfigWatcher() = default;

std::vector<ConfigChange> ConfigWatcher::Poll() {
  return impl_->Poll();
}

}  // namespace OrvoConfigStore
