#include "configstore/diff.h"

#include <algorithm>
#include <utility>

#include "api/compare_fields.h"
#include "documents/diff_side.h"

namespace OrvoConfigStore {
namespace {

std::string Written(const JsonValue& value) {
  std::string text;
  if (!WriteJson(value, text)) ThrowInvalidJson();
  return text;
}

void Sort(std::vector<SideObject>& objects) {
  std::stable_sort(objects.begin(), objects.end(),
                   [](const SideObject& a, const SideObject& b) { return IsBefore(a.id, b.id); });
}

// Appends what differs in an object that both sides have.
void CompareObject(const SideObject& from, const SideObject& to, DiffResult& result) {
  ObjectDifference difference{from.id, Written(*from.data), Written(*to.data), {}};
  if (difference.before == difference.after) return;
  difference.fields = CompareFieldsOf(from.schema.get(), *from.data, *to.data);
  if (!difference.fields.empty()) result.objects.push_back(std::move(difference));
}

}  // namespace

DiffResult Diff(const DiffSide& from, const DiffSide& to) {
  ReadSide before = ReadDiffSide(from), after = ReadDiffSide(to);
  Sort(before.objects);
  Sort(after.objects);
  DiffResult result;
  result.leftOut = before.leftOut;
  result.leftOut.insert(result.leftOut.end(), after.leftOut.begin(), after.leftOut.end());
  auto old = before.objects.begin(), now = after.objects.begin();
  while (old != before.objects.end() || now != after.objects.end()) {
    if (now == after.objects.end() || (old != before.objects.end() && IsBefore(old->id, now->id))) {
      result.objects.push_back({old->id, Written(*old->data), {}, {}});
      ++old;
    } else if (old == before.objects.end() || IsBefore(now->id, old->id)) {
      result.objects.push_back({now->id, {}, Written(*now->data), {}});
      ++now;
    } else {
      CompareObject(*old++, *now++, result);
    }
  }
  return result;
}

}  // namespace OrvoConfigStore
