// The store's place is wrong: nothing can be written, or something else is there.
// Each is answered within four seconds, and the store goes on after the repair.

#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>

#include "faults/host.h"

using namespace OrvoConfigStore;

namespace {

/// The host of the child that a case runs in, which may spoil itself as it likes.
struct Place {
  FaultHost& host;
  std::string Real(const std::string& path) const { return host.root.Resolve(path); }
  std::string store = Real(HaldenLib::kStoreFile), directory = Real(HaldenLib::kStoreDirectory);
  std::string schemas = Real(HaldenLib::kSchemaStoreFile);
  static void Limit(__rlimit_resource what, rlim_t most) {
    rlimit limit{};
    getrlimit(what, &limit);
    limit.rlim_cur = most == RLIM_INFINITY ? limit.rlim_max : most;
    setrlimit(what, &limit);
  }
};

enum Answer { WORKS, REFUSED, NO_STORE };

using Act = void (*)(const Place& at);

// What spoils the place and what repairs it; where the second is missing, the path in the third is set aside before
// and put back afterwards.
// clang-format off
const struct { const char* name; Answer answer; const char* words; Act spoil, repair; std::string Place::*aside; }
kPlaces[] = {
    {"full disk", REFUSED, "", [](const Place&) { signal(SIGXFSZ, SIG_IGN); Place::Limit(RLIMIT_FSIZE, 4096); },
     [](const Place&) { Place::Limit(RLIMIT_FSIZE, RLIM_INFINITY); }, nullptr},
    {"read-only file", REFUSED, "readonly", [](const Place& at) { chmod(at.store.c_str(), 0400); },
     [](const Place& at) { chmod(at.store.c_str(), 0600); }, nullptr},
    {"read-only directory", REFUSED, "", [](const Place& at) { chmod(at.directory.c_str(), 0500); },
     [](const Place& at) { chmod(at.directory.c_str(), 0700); }, nullptr},
    {"directory out of reach", REFUSED, "permission", [](const Place& at) { chmod(at.directory.c_str(), 0); },
     [](const Place& at) { chmod(at.directory.c_str(), 0700); }, nullptr},
    {"no directory", NO_STORE, "", nullptr, nullptr, &Place::directory},
    {"no file", NO_STORE, "", nullptr, nullptr, &Place::store},
    {"directory in its place", REFUSED, "regular file", [](const Place& at) { fs::create_directory(at.store); },
     nullptr, &Place::store},
    {"pipe in its place", REFUSED, "regular file", [](const Place& at) { mkfifo(at.store.c_str(), 0600); }, nullptr,
     &Place::store},
    {"link in its place", REFUSED, "regular file",
     [](const Place& at) { fs::create_symlink(at.store + ".aside", at.store); }, nullptr, &Place::store},
    {"empty file", REFUSED, "no such table", [](const Place& at) { close(creat(at.store.c_str(), 0600)); }, nullptr,
     &Place::store},
    {"text in its place", REFUSED, "not a database",
     [](const Place& at) { at.host.root.Write(HaldenLib::kStoreFile, Repeated("text ", 999)); }, nullptr, &Place::store},
    {"directory for its log", REFUSED, "", [](const Place& at) { fs::create_directory(at.store + "-wal"); },
     [](const Place& at) { fs::remove(at.store + "-wal"); }, nullptr},
    {"no schema store", REFUSED, "Schema not found", nullptr, nullptr, &Place::schemas},
    {"no descriptors left", REFUSED, "", [](const Place&) { Place::Limit(RLIMIT_NOFILE, 3); },
     [](const Place&) { Place::Limit(RLIMIT_NOFILE, RLIM_INFINITY); }, nullptr},
    {"standard streams closed", WORKS, "", [](const Place&) { for (int i = 0; i < 3; ++i) close(i); }, nullptr, nullptr},
    {"clock set back", WORKS, "", [](const Place& at) {
       for (const std::string& path : {at.store, at.schemas}) {
         fs::last_write_time(path, fs::file_time_type::clock::now() + std::chrono::hours(9999));
       }
     }, nullptr, nullptr},
};
// clang-format on

/// Permissions mean nothing to root.
void BecomeNobody(const std::string& root) {
  constexpr uid_t kNobody = 65534;
  if (geteuid() != 0) return;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    if (chown(entry.path().c_str(), kNobody, kNobody) != 0) _exit(90);
  }
  if (chown(root.c_str(), kNobody, kNobody) != 0 || setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 ||
      setuid(kNobody) != 0) {
    _exit(91);
  }
}

template <class Row>
std::string Try(FaultHost& host, const Row& row) {
  const Place at{host};
  if (row.aside != nullptr) fs::rename(at.*row.aside, at.*row.aside + ".aside");
  if (row.spoil != nullptr) row.spoil(at);
  const auto start = std::chrono::steady_clock::now();
  host.Open();
  Answer answer = host.store == nullptr ? NO_STORE : WORKS;
  std::string words;
  if (host.store != nullptr) words = Thrown([&] { Parts()[0].write(host, 2); });
  if (!words.empty()) answer = REFUSED;
  words += " " + LastStorageError().message;
  const bool isQuick = std::chrono::steady_clock::now() - start < std::chrono::seconds(4);
  const auto before = host.store;
  if (row.repair != nullptr) row.repair(at);
  if (row.aside != nullptr) {
    fs::remove_all(at.*row.aside);
    fs::rename(at.*row.aside + ".aside", at.*row.aside);
  }
  if (answer != row.answer || words.find(row.words) == std::string::npos) {
    return "answer " + std::to_string(answer) + ": " + words;
  }
  if (!isQuick) return "slow";
  host.Open();
  if (host.store == nullptr) return "no store after the repair";
  const int found = Parts()[0].read(host);
  if (found != (answer == WORKS ? 2 : 1)) return "found " + std::to_string(found);
  if (before != nullptr) host.store = before;  // a handle from then works too
  Parts()[0].write(host, 3);
  return Parts()[0].read(host) == 3 ? "" : "cannot write after the repair";
}

TEST(Places, ThatAreWrongAreAnsweredAndTheStoreGoesOnAfterTheRepair) {
  for (const auto& row : kPlaces) {
    // A sanitizer looks at memory through a pipe, and takes what it cannot look at for damage.
    if (kIsSanitized && std::string(row.name) == "no descriptors left") continue;
    FaultHost host;
    Parts()[0].write(host, 1);
    host.Close();
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    const int result = InChild([&] {
      BecomeNobody(host.root.Path());
      const std::string failure = Try(host, row);
      return write(ends[1], failure.data(), failure.size()) == static_cast<ssize_t>(failure.size()) ? 0 : 1;
    });
    close(ends[1]);
    char failure[1000];
    const ssize_t length = read(ends[0], failure, sizeof failure);
    close(ends[0]);
    EXPECT_EQ(0, result) << row.name;
    EXPECT_EQ("", std::string(failure, static_cast<size_t>(std::max(ssize_t{0}, length)))) << row.name;
  }
}

}  // namespace
