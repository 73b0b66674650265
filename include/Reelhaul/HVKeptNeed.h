#pragma once
/// \file
/// What a row of a kept queue needs that is not stored: IHVKeptQueue::Needs.
///
/// Thread-safety: all operations are pure and may be called from any thread.

#include "HVExport.h"

#include <string>

namespace Halvorn {

/// Flags; the values are fixed, and later versions may add some.
enum HVKeptNeed {
    HVKeptNeedNone = 0,          ///< nothing: the row can be started as it is
    HVKeptNeedLogin = 1,         ///< a user name and a password, or what else its login is made of
    HVKeptNeedVideoPassword = 2, ///< the password of the video itself
    HVKeptNeedCookies = 4,       ///< its cookies file, which is not there any more
    HVKeptNeedProxyPassword = 8  ///< the password of its proxy
};

/// The flags in words for a user, such as "a login, the proxy's password"; empty for none.
HV_EXPORT std::string KeptNeedText(int needs);

} // namespace Halvorn
