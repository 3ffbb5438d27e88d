#pragma once

#include <pthread.h>

#include <memory>
#include <mutex>
#include <utility>

/// State of the process as a whole, kept so that it can be used from any thread,
/// in a forked child, and while static objects come and go.

namespace HaldenLib {

/// Holds `Lock` across every fork from now on, so that a child never inherits it
/// from a thread that it does not have. Called once, while the library loads.
template <std::mutex& (*Lock)()>
bool HoldAcrossForks() {
  const auto release = [] { Lock().unlock(); };
  return pthread_atfork([] { Lock().lock(); }, release, release) == 0;
}

/// Returns the process's one T, made on first use and never destroyed: objects
/// that end after main may still need it.
template <class T>
T& TheOnly() {
  static T& only = *std::make_unique<T>().release();
  return only;
}

/// The lock of every ProcessWide; held only while a pointer is copied.
std::mutex& ProcessWideLock();

/// The process's current T, replaced as a whole; empty until the first Exchange.
template <class T>
class ProcessWide {
 public:
  static std::shared_ptr<const T> Get() {
    const std::lock_guard<std::mutex> lock(ProcessWideLock());
    return TheOnly<Holder>().current;
  }

  /// Puts `next` in force and returns what was.
  static std::shared_ptr<const T> Exchange(std::shared_ptr<const T> next) {
    const std::lock_guard<std::mutex> lock(ProcessWideLock());
    TheOnly<Holder>().current.swap(next);
    return next;
  }

 private:
  struct Holder {
    std::shared_ptr<const T> current;
  };
};

}  // namespace HaldenLib
