#pragma once

#include <string>
#include <vector>

/// The files that installed packages bring for the store:
/// components/PACKAGE/FOLDER/*.json. What cannot be read is logged at priority 0
/// with its path and the reason.

namespace OrvoConfigStore {

struct PackageFile {
  std::string package;
  std::string path;
  std::string text;
};

/// Logs what is wrong with a file.
void LogRefusal(const std::string& path, const std::string& reason);

/// Reads which packages are installed; without a components directory none is.
/// Returns false when that cannot be read.
bool ListInstalledPackages(std::vector<std::string>* packages);

/// Returns `listed` sorted and each once, or `installed` when it is empty.
std::vector<std::string> ChoosePackages(const std::vector<std::string>& listed,
                                        const std::vector<std::string>& installed);

/// Reads the files in the folder of each package; one that is missing has none.
/// Returns false when any cannot be read, or a package has no usable name.
bool ReadPackageFiles(const std::vector<std::string>& packages, const std::string& folder,
                      std::vector<PackageFile>* files);

/// Lists the paths of what lies in the folder of a package, sorted; a folder that is
/// missing is empty. Returns false when it cannot be read, or the name is not usable.
bool ListPackageFolder(const std::string& package, const std::string& folder, std::vector<std::string>* paths);

}  // namespace OrvoConfigStore
