#include "HVStandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

namespace Halvorn {

void FillStandardStreams() {
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (fcntl(stream, F_GETFD) >= 0)
            continue;
        // Opened the wrong way round, and it takes the lowest free number, which is this one.
        [[maybe_unused]] int const opened = open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

} // namespace Halvorn
