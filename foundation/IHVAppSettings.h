#pragma once
// The persistent settings: one small JSON file in the place that the system has for it.
//
// REELHAUL_SETTINGS names another file. A damaged file, and what is no regular file, reads as empty and is
// left alone until the next Save; Save leaves the old file or the new one, whatever happens. Thread-safety:
// any operation from any thread.

#include <memory>
#include <string>

namespace Halvorn {

class IHVAppSettings {
public:
    /// The one settings object of the process.
    static std::shared_ptr<IHVAppSettings> Shared();

    /// Remembers the value under the key; value first.
    virtual void SetBool(bool value, std::string const& key) = 0;
    /// The stored value; false for a key that was never written.
    virtual bool GetBool(std::string const& key) const = 0;
    /// Writes the settings out, so that the next start sees them. Blocks; a failure is logged.
    virtual void Save() = 0;

protected:
    ~IHVAppSettings() = default;
};

} // namespace Halvorn
