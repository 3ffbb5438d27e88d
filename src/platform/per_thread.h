#pragma once

#include <pthread.h>

#include <cerrno>
#include <memory>
#include <new>

namespace HaldenLib {

/// The calling thread's T, made on first use. It ends with its thread, that of the
/// main thread never. Unlike an object that is thread_local by itself, whose
/// destructor the C library has to note and without memory ends the process, the
/// first use can fail: with std::bad_alloc.
template <class T>
class PerThread {
 public:
  static T& Get() {
    if (own_ == nullptr) Make();
    return *own_;
  }

 private:
  /// Deleted with the library, which threads can outlive.
  struct Key {
    Key() {
      if (pthread_key_create(&id, Destroy) != 0) throw std::bad_alloc();
    }
    ~Key() { pthread_key_delete(id); }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    pthread_key_t id{};
  };

  static void Make() {
    static const Key key;
    auto made = std::make_unique<T>();
    if (pthread_setspecific(key.id, made.get()) == ENOMEM) throw std::bad_alloc();
    own_ = made.release();
  }

  static void Destroy(void* own) {
    own_ = nullptr;
    std::default_delete<T>()(static_cast<T*>(own));
  }

  static inline thread_local T* own_ = nullptr;
};

}  // namespace HaldenLib
