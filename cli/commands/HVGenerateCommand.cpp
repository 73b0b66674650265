#include "HVGenerateCommand.h"

#include "HVCommandLine.h"
#include "HVCompletions.h"
#include "HVManPage.h"
#include "HVRequest.h"
#include "HVSession.h"

#include <string>

namespace Halvorn {

int RunGenerate(HVSession& session, HVRequest& request) {
    HVCommandLine const line;
    HVCommandDescription const program = line.Description();
    std::string const& what = request.document;
    std::string const text = what == "man"    ? ManPage(program, line.Footer())
                             : what == "bash" ? BashCompletion(program)
                             : what == "zsh"  ? ZshCompletion(program)
                             : what == "fish" ? FishCompletion(program)
                                              : "";
    if (text.empty()) {
        session.Console().Error("there is no \"" + what +
                                "\" to generate; man, bash, zsh and fish there are");
        return HVExitUsage;
    }
    session.Console().OutText(text);
    return session.FinalStatus(HVExitDone);
}

} // namespace Halvorn
