#include "documents/schema_words.h"

#include <algorithm>
#include <iterator>

namespace OrvoConfigStore {
namespace {

struct Word {
  std::string_view word;
  unsigned kinds;
};

constexpr Word kTypes[] = {
    {"object", kObjects},  {"array", kArrays}, {"string", kTexts},   {"secret", kTexts},
    {"integer", kNumbers}, {"long", kNumbers}, {"double", kNumbers}, {"boolean", kBooleans},
};

constexpr Word kKeywords[] = {
    {"type", kAnything},
    {"title", kAnything},
    {"description", kAnything},
    {"default", kAnything},
    {"properties", kObjects},
    {"required", kObjects},
    {"additionalProperties", kObjects},
    {"items", kArrays},
    {"instanceId", kAnything},
    {"instanceID", kAnything},
    {"minLength", kTexts},
    {"maxLength", kTexts},
    {"enum", kTexts},
    {"pattern", kTexts},
    {"minimum", kNumbers},
    {"maximum", kNumbers},
    {"vital", kAnything},
    {"cached", kAnything},
    {"storeSpecific", kAnything},
    {"reference", kTexts},
    {"optionDependency", kAnything},
};

constexpr std::string_view kFileMembers[] = {"component", "group",  "key",   "version",
                                             "noRestore", "schema", "title", "description"};

template <size_t Count>
unsigned KindsOf(const Word (&words)[Count], std::string_view word) {
  const Word* found = std::find_if(words, words + Count, [word](const Word& known) { return known.word == word; });
  return found == words + Count ? 0 : found->kinds;
}

}  // namespace

unsigned KindOf(std::string_view type) {
  return KindsOf(kTypes, type);
}

unsigned KindsWithKeyword(std::string_view keyword) {
  return KindsOf(kKeywords, keyword);
}

bool IsFileMember(std::string_view name) {
  return std::find(std::begin(kFileMembers), std::end(kFileMembers), name) != std::end(kFileMembers);
}

}  // namespace OrvoConfigStore
