// The command `reelhaul`: the library's reference application, on its public interface alone.

#include "HVCommandLine.h"
#include "HVRequest.h"
#include "HVSession.h"
#include "HVStandardStreams.h"

#include <exception>
#include <string>

namespace {

int Run(int count, char const* const* arguments) {
    using namespace Halvorn;
    HVCommandLine line;
    int status = HVExitUsage;
    std::string const text = line.Parse(count, arguments, status);
    HVSession session(line.Quiet());
    if (text.empty())
        return line.Run(session);
    if (status == HVExitDone)
        session.Console().OutText(text);
    else
        session.Console().Error(text);
    return session.FinalStatus(status);
}

} // namespace

int main(int count, char** arguments) {
    Halvorn::FillStandardStreams();
    try {
        return Run(count, arguments);
    } catch (std::exception const& fault) {
        Halvorn::HVConsole(false).Error(fault.what());
        return Halvorn::HVExitFailed;
    }
}
