#pragma once
// The implementation of IHVNetrcAuthentication.

#include "IHVNetrcAuthentication.h"

namespace Halvorn {

class HVNetrcAuthentication final : public IHVNetrcAuthentication {
public:
    HVNetrcAuthentication(std::string location, std::string command);
    /// A copy; of nothing, an empty record.
    explicit HVNetrcAuthentication(IHVNetrcAuthentication const* source);

    std::string const& GetLocation() const override { return location_; }
    void SetLocation(std::string const& location) override { location_ = location; }
    std::string const& GetCommand() const override { return command_; }
    void SetCommand(std::string const& command) override { command_ = command; }
    std::shared_ptr<IHVNetrcAuthentication> Clone() const override;

private:
    std::string location_;
    std::string command_;
};

} // namespace Halvorn
