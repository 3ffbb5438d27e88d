#include "lifecycle/package_files.h"

#include <cerrno>
#include <set>
#include <system_error>

#include "configstore/json_document.h"
#include "configstore/logging.h"
#include "platform/host_files.h"
#include "platform/host_paths.h"
#include "platform/json_reader.h"

namespace OrvoConfigStore {
namespace {

const std::string kComponents = HaldenLib::kComponentsDirectory;

bool Refuse(const std::string& path, int error) {
  LogRefusal(path, std::generic_category().message(error));
  return false;
}

// A directory that is missing is empty.
bool List(const std::string& directory, std::vector<std::string>* names) {
  const int error = HaldenLib::ListDirectory(directory, names);
  return error == 0 || error == ENOENT || Refuse(directory, error);
}

// A package is a directory among the components, never a way out of them.
bool IsPackageName(const std::string& name) {
  return !name.empty() && name.front() != '.' && name.find_first_of(std::string("/\0", 2)) == std::string::npos;
}

bool ReadFolder(const std::string& package, const std::string& folder, std::vector<PackageFile>* files) {
  std::vector<std::string> paths;
  bool isRead = ListPackageFolder(package, folder, &paths);
  for (const std::string& path : paths) {
    if (!endsWith(path, ".json")) continue;
    PackageFile file{package, path, ""};
    const int error = HaldenLib::ReadFile(file.path, kMaxJsonBytes, &file.text);
    if (error != 0) isRead = Refuse(file.path, error);
    files->push_back(std::move(file));
  }
  return isRead;
}

}  // namespace

void LogRefusal(const std::string& path, const std::string& reason) {
  CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "Refused %s: %s", path.c_str(), reason.c_str());
}

bool ListInstalledPackages(std::vector<std::string>* packages) {
  std::vector<std::string> names;
  if (!List(kComponents, &names)) return false;
  for (const std::string& name : names) {
    if (HaldenLib::IsDirectory(kComponents + "/" + name)) packages->push_back(name);
  }
  return true;
}

std::vector<std::string> ChoosePackages(const std::vector<std::string>& listed,
                                        const std::vector<std::string>& installed) {
  const std::set<std::string> chosen(listed.begin(), listed.end());
  return listed.empty() ? installed : std::vector<std::string>(chosen.begin(), chosen.end());
}

bool ListPackageFolder(const std::string& package, const std::string& folder, std::vector<std::string>* paths) {
  if (!IsPackageName(package)) return Refuse(kComponents + "/" + package, EINVAL);
  const std::string directory = kComponents + "/" + package + "/" + folder;
  std::vector<std::string> names;
  const bool isRead = List(directory, &names);
  for (const std::string& name : names) paths->push_back(directory + "/" + name);
  return isRead;
}

bool ReadPackageFiles(const std::vector<std::string>& packages, const std::string& folder,
                      std::vector<PackageFile>* files) {
  bool isRead = true;
  for (const std::string& package : packages) {
    if (!ReadFolder(package, folder, files)) isRead = false;
  }
  return isRead;
}

}  // namespace OrvoConfigStore
