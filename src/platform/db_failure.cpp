#include "platform/db_failure.h"

#include <sqlite3.h>

#include "platform/db_store.h"
#include "platform/host_log.h"
#include "platform/per_thread.h"

namespace DBStore {

namespace {

struct Failures {
  Failure last;
  Failure ofOpening;  // the last connection that could not be had
};

Failure& ThreadFailure() {
  return HaldenLib::PerThread<Failures>::Get().last;
}

Failure& ThreadOpenFailure() {
  return HaldenLib::PerThread<Failures>::Get().ofOpening;
}

/// SQLite puts what it quotes of a statement between double quotes.
std::string WithoutQuotations(int code, const std::string& words) {
  return words.find_first_of("\"'") == std::string::npos ? words : sqlite3_errstr(code);
}

std::string WithoutLiterals(std::string_view statement) {
  constexpr size_t kMostLogged = 160;
  return std::string(statement.substr(0, statement.find('\'')).substr(0, kMostLogged));
}

}  // namespace

const Failure& LastFailure() {
  return ThreadFailure();
}

void ClearFailure() {
  ThreadFailure().code = SQLITE_OK;
  ThreadFailure().message.clear();
}

void RecordFailure(int code, const std::string& words, const std::string& file) {
  ThreadFailure().code = code;
  ThreadFailure().message = WithoutQuotations(code, words) + ": " + file;
}

int ReportFailure(int code, const std::string& words, const std::string& file, std::string_view statement) {
  RecordFailure(code, words, file);
  const char* const message = LastFailure().message.c_str();
  if (statement.empty()) {
    HaldenLib::LogLine(HaldenLib::LOG_LEVEL_ERROR, "Database failure %d, %s", code, message);
  } else {
    HaldenLib::LogLine(HaldenLib::LOG_LEVEL_ERROR, "Database failure %d, %s, in statement: %s", code, message,
                       WithoutLiterals(statement).c_str());
  }
  return 1;
}

void KeepOpenFailure() {
  ThreadOpenFailure() = ThreadFailure();
}

bool RecallOpenFailure() {
  if (ThreadOpenFailure().code == SQLITE_OK) return false;
  ThreadFailure() = ThreadOpenFailure();
  return true;
}

}  // namespace DBStore
