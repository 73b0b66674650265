#include "HVDescriptor.h"

#include <unistd.h>

namespace Halvorn {

void HVDescriptor::Reset(int fd) {
    int const former = fd_;
    fd_ = fd;
    if (former >= 0)
        close(former);
}

} // namespace Halvorn
