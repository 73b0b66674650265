#pragma once
// A proxy's address, taken apart.

#include <Reelhaul/IHVProxy.h>

#include <memory>
#include <string>
#include <string_view>

namespace Halvorn {

/// The proxy of "scheme://[user[:password]@]host[:port][/]". User and password are taken as they stand: the
/// library writes them into the address again without a change. Empty on a fault, which goes to `fault`.
std::shared_ptr<IHVProxy> ReadProxy(std::string_view address, std::string& fault);

} // namespace Halvorn
