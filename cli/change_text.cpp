#include "change_text.h"

#include "json_text.h"
#include "object_name.h"

namespace csctl {

using OrvoConfigStore::ConfigStoreObjectId;
using OrvoConfigStore::StoredRow;

namespace {

struct LayerText {
  const char* name;
  std::optional<std::string> StoredRow::*text;
};

const LayerText kLayerTexts[] = {
    {"user", &StoredRow::userValue},
    {"auto", &StoredRow::autoConfValue},
    {"vital", &StoredRow::vitalValue},
    {"cached", &StoredRow::cachedValue},
};

const StoredRow& OrEmpty(const Row& row) {
  static const StoredRow kEmpty;
  return row ? *row : kEmpty;
}

std::string DesiredEffect(const StoredRow& before, const StoredRow& after, bool isThere) {
  if (before.desiredValue == after.desiredValue) return "";
  if (!before.desiredValue) return "what was pending is kept as the desired value";
  if (after.desiredValue) return "the desired value is another";
  return isThere && after.userValue == before.desiredValue ? "the desired value is in force now"
                                                           : "the staged desired value is discarded";
}

}  // namespace

std::vector<std::string> ChangedLayers(const ConfigStoreObjectId& id, const Row& before, const Row& after) {
  std::vector<std::string> layers;
  for (const LayerText& layer : kLayerTexts) {
    const auto &old = OrEmpty(before).*layer.text, &now = OrEmpty(after).*layer.text;
    const bool isSame = old.has_value() == now.has_value() && (!old || CompareFields(id, *old, *now).empty());
    if (!isSame) layers.emplace_back(layer.name);
  }
  return layers;
}

std::vector<std::string> SideEffects(const Row& before, const Row& after) {
  std::vector<std::string> effects;
  const std::string desired = DesiredEffect(OrEmpty(before), OrEmpty(after), after.has_value());
  if (!desired.empty()) effects.push_back(desired);
  if (after && OrEmpty(before).confirmed != after->confirmed) {
    effects.emplace_back(after->confirmed ? "the object is confirmed now: its user layer is in force"
                                          : "the object is unconfirmed now: its user layer is not in force");
  }
  return effects;
}

std::string Enumerate(const std::vector<std::string>& words) {
  std::string text;
  for (size_t i = 0; i < words.size(); ++i) {
    if (i > 0) text += i + 1 == words.size() ? " and " : ", ";
    text += words[i];
  }
  return text;
}

void PrintWrite(const Session& session, const std::string& done, const ConfigStoreObjectId& id,
                const WriteReport& report) {
  const std::string name = ObjectName(id);
  const std::vector<std::string> layers = ChangedLayers(id, report.before, report.after);
  std::vector<std::string> effects = SideEffects(report.before, report.after);
  if (report.isStaged) effects.emplace_back("the staged configuration keeps its value of the object");
  std::string line = done + " " + name + "\n  ";
  line += layers.empty() ? "no layer changed"
                         : "changed: " + Enumerate(layers) + (layers.size() > 1 ? " layers" : " layer");
  for (const std::string& effect : effects) line += "; " + effect;
  std::vector<std::string> layersJson, effectsJson;
  for (const std::string& layer : layers) layersJson.push_back(JsonString(layer));
  for (const std::string& effect : effects) effectsJson.push_back(JsonString(effect));
  session.PrintResult(
      line,
      JsonObject({{done, JsonString(name)}, {"layers", JsonArray(layersJson)}, {"effects", JsonArray(effectsJson)}}));
}

}  // namespace csctl
