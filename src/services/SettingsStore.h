#pragma once

#include <functional>
#include <string>

#include "RegistryTree.h"

namespace kvo {

// The machine-wide settings file. Reads see the file as it is on disk; every
// change locks the file, reads it afresh, changes it and replaces it atomically,
// so two processes writing at once lose nothing. Failures raise SettingsFileError.
class SettingsStore {
public:
    explicit SettingsStore(std::string path);

    // ORLANVEX_REGISTRY, or /etc/orlanvex/registry.reg when that is not set.
    static std::string DefaultPath();

    const std::string& Path() const { return path_; }

    // A missing (or empty) file is an empty store.
    RegistryTree Read() const;
    // A damaged file is reported and left as it is: nothing is written.
    void Modify(const std::function<void(RegistryTree&)>& change) const;

private:
    std::string path_;
};

}  // namespace kvo
