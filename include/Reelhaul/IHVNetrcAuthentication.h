#pragma once
/// \class Halvorn::IHVNetrcAuthentication
/// A login from a netrc file, or from a command that prints one.
///
/// Thread-safety: none; set the record up before it goes to a task or a controller. Ownership: shared
/// pointers.

#include "HVExport.h"

#include <memory>
#include <string>

namespace Halvorn {

class HV_EXPORT IHVNetrcAuthentication {
public:
    ///@{
    /// An empty record counts, too: the tool then reads the user's own netrc file.
    static std::shared_ptr<IHVNetrcAuthentication> MallocNetrcAuthentication();
    static std::shared_ptr<IHVNetrcAuthentication> MallocNetrcAuthentication(std::string const& location,
                                                                             std::string const& command);
    ///@}

    ///@{
    /// Path of the file, or of the folder that holds it.
    virtual std::string const& GetLocation() const = 0;
    virtual void SetLocation(std::string const& location) = 0;
    ///@}
    ///@{
    /// A command that the tool runs in a shell and reads in place of a file; never take it from a stranger's
    /// text.
    virtual std::string const& GetCommand() const = 0;
    virtual void SetCommand(std::string const& command) = 0;
    ///@}
    /// A record of its own with the same values.
    virtual std::shared_ptr<IHVNetrcAuthentication> Clone() const = 0;

protected:
    ~IHVNetrcAuthentication() = default;
};

} // namespace Halvorn
