#include "HVToolBytecode.h"

#include "HVToolAside.h"
#include "HVToolRun.h"
#include "HVToolVersion.h"
#include "IHVLogConfig.h"
#include "IHVStringHelper.h"

#include <array>
#include <fstream>
#include <vector>

namespace Halvorn {

namespace {

constexpr char const* kPrepared = "prepared";
constexpr char const* kNothingToDo = "nothing to do";
constexpr std::streamsize kLongestLine = 256;

// A tool that runs has read at its start where in the file each source lies, and opens the file by its name
// when it needs one. So the new file keeps every entry of the file that it is to replace where it is, and
// what is added lies behind them, or in front where an earlier one has left room. Sources stay for an
// interpreter whose bytecode differs. A point for each entry shows that the program does not hang.
constexpr char const* kProgram = R"python(
import _imp, importlib._bootstrap_external as bootstrap, importlib.util, os, shutil, sys, zipfile
tool, replaced, result = sys.argv[1:]

def first_line(path):
    with open(path, 'rb') as file:
        return file.readline(256)

def fresh(archive, name):
    with archive.open(name) as file:
        return file.read(4) == importlib.util.MAGIC_NUMBER

def bytecode(source, name):
    code = compile(source, name, 'exec', dont_inherit=True, optimize=0)
    return bootstrap._code_to_hash_pyc(code, _imp.source_hash(bootstrap._RAW_MAGIC_NUMBER, source), False)

def over(path):
    return (zipfile.is_zipfile(path) and len(first_line(path)) == len(first_line(tool))
            and os.path.getsize(path) < 64 << 20)

def place(name, data, method):
    global gap, tail
    fits = gap + len(data) + len(data) // 100 + 500 < gap_end
    archive.start_dir = gap if fits else tail
    info = zipfile.ZipInfo(name)
    info.compress_type = method
    info.external_attr = 0o644 << 16
    archive.writestr(info, data)
    if fits:
        gap = archive.start_dir
    else:
        tail = archive.start_dir
    print('.', end='', flush=True)

with zipfile.ZipFile(tool) as source:
    names = dict.fromkeys(source.namelist())
    kept = [name for name in names if not name.endswith('.pyc') or fresh(source, name)]
    wanted = [name for name in names if name.endswith('.py') and name + 'c' not in kept]
    if not wanted:
        sys.exit(print('nothing to do'))
    base = replaced if over(replaced) else tool
    shutil.copyfile(base, result)
    with zipfile.ZipFile(result, 'a') as archive:
        gap, gap_end, tail = len(first_line(tool)), 0, archive.start_dir
        if base != tool:
            gap_end = min(info.header_offset for info in archive.filelist)
            archive.filelist.clear()
            archive.NameToInfo.clear()
            for name in kept:
                place(name, source.read(name), source.getinfo(name).compress_type)
        for name in wanted:
            if name + 'c' in archive.NameToInfo:
                archive.filelist.remove(archive.NameToInfo.pop(name + 'c'))
            try:
                place(name + 'c', bytecode(source.read(name), name), zipfile.ZIP_STORED)
            except (SyntaxError, ValueError):
                pass
        archive.start_dir = tail
with open(result, 'r+b') as file:
    file.write(first_line(tool))
shutil.copymode(tool, result)
print('prepared')
)python";

/// The words of the file's first line after "#!", or none when it is no file of the form.
std::vector<std::string> InterpreterOf(std::string const& tool) {
    std::ifstream file(tool, std::ios::binary);
    std::array<char, kLongestLine> buffer{};
    std::array<char, 4> zip{};
    if (!file.getline(buffer.data(), kLongestLine) || !file.read(zip.data(), zip.size()))
        return {};
    std::string const line(buffer.data());
    if (!line.starts_with("#!") || line.find("python") == std::string::npos ||
        zip != std::array<char, 4>{'P', 'K', '\3', '\4'})
        return {};
    std::string const words = IHVStringHelper::Trimmed(line.substr(2));
    auto const blank = words.find_first_of(" \t");
    if (blank == std::string::npos)
        return {words};
    // As the system has it: the interpreter and all the rest as one argument.
    return {words.substr(0, blank), IHVStringHelper::Trimmed(words.substr(blank))};
}

/// Empty when the copy is prepared and answers as the tool does; the reason otherwise.
std::string Prepare(HVToolAside const& aside, std::string const& replaced,
                    std::vector<std::string> interpreter, unsigned int silence) {
    std::string const program = interpreter.front();
    interpreter.erase(interpreter.begin());
    interpreter.insert(interpreter.end(), {"-I", "-c", kProgram, aside.Tool(), replaced, aside.Path()});
    HVToolRun python(program, interpreter);
    python.SetLimits({0, silence, 0});
    auto const run = python.Run();
    if (run.output.ends_with(std::string(kNothingToDo) + "\n"))
        return kNothingToDo;
    if (!run.output.ends_with(std::string(kPrepared) + "\n")) {
        std::string const words = IHVStringHelper::Trimmed(run.errors);
        // A traceback's last line is the reason.
        return run.startError == nullptr ? "python ended early. " + words.substr(words.rfind('\n') + 1)
                                         : run.startError->GetErrorMessage();
    }
    std::string const version = ToolVersion(aside.Path());
    return !version.empty() && version == ToolVersion(aside.Tool()) ? "" : "the prepared file does not run.";
}

} // namespace

bool AddToolBytecode(std::string const& tool, std::string const& replaced, unsigned int silence) {
    auto const interpreter = InterpreterOf(tool);
    if (interpreter.empty())
        return false;
    HVToolAside const aside(tool);
    std::string failure = Prepare(aside, replaced == tool ? aside.Tool() : replaced, interpreter, silence);
    if (failure == kNothingToDo)
        return false;
    if (failure.empty())
        failure = aside.PutInPlace();
    if (!failure.empty())
        IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning, "\"%s\" could not be given its bytecode: %s",
                             tool.c_str(), failure.c_str());
    return failure.empty();
}

} // namespace Halvorn
