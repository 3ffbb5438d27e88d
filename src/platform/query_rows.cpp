#include "platform/query_rows.h"

#include <exception>

namespace DBStore {

int QueryRows(sqlite3* database, const char* statements, const TakeRow& take) {
  struct Query {
    const TakeRow& take;
    std::exception_ptr thrown;
  } query{take, nullptr};
  const auto giveRow = [](void* context, int columns, char** texts, char**) {
    Query& under = *static_cast<Query*>(context);
    try {
      under.take(columns, texts);
    } catch (...) {
      under.thrown = std::current_exception();
    }
    return under.thrown == nullptr ? 0 : 1;
  };
  const int code = sqlite3_exec(database, statements, giveRow, &query, nullptr);
  if (query.thrown != nullptr) std::rethrow_exception(query.thrown);
  return code;
}

}  // namespace DBStore
