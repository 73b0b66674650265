#include "HVNetrcAuthentication.h"

#include <utility>

namespace Halvorn {

HVNetrcAuthentication::HVNetrcAuthentication(std::string location, std::string command)
    : location_(std::move(location)), command_(std::move(command)) {}

HVNetrcAuthentication::HVNetrcAuthentication(IHVNetrcAuthentication const* source) {
    if (!source)
        return;
    location_ = source->GetLocation();
    command_ = source->GetCommand();
}

std::shared_ptr<IHVNetrcAuthentication> HVNetrcAuthentication::Clone() const {
    return std::make_shared<HVNetrcAuthentication>(this);
}

std::shared_ptr<IHVNetrcAuthentication> IHVNetrcAuthentication::MallocNetrcAuthentication() {
    return std::make_shared<HVNetrcAuthentication>(nullptr);
}

std::shared_ptr<IHVNetrcAuthentication>
IHVNetrcAuthentication::MallocNetrcAuthentication(std::string const& location, std::string const& command) {
    return std::make_shared<HVNetrcAuthentication>(location, command);
}

} // namespace Halvorn
