#include "HVFileMove.h"
#include "HVFileReservation.h"
#include "IHVFileProvider.h"

namespace Halvorn {

namespace {

std::shared_ptr<IHVError const> Report(char const* function, std::string const& message) {
    return IHVError::MallocError("HVFileProvider", __LINE__, function, HVErrorCodeIO, "IO Error",
                                 message.c_str());
}

} // namespace

std::shared_ptr<IHVError const> IHVFileProvider::MvFile(std::string const& source, std::string const& target,
                                                        bool overwrite) {
    HVMoveUnderWay const underWay;
    HVFileFailure failure = CheckMovePaths(source, target);
    if (!failure.Happened())
        failure = HVFileMove(source).To(target, overwrite);
    // Only now, when CreateUniquePathFile finds the file on the disk.
    ReleaseFileReservation(target);
    if (failure.Happened())
        return Report("MvFile", MoveFailureText(source, target, failure));
    return IHVError::MallocSucceed("HVFileProvider", __LINE__, "MvFile");
}

std::shared_ptr<IHVError const> IHVFileProvider::CpFile(std::string const& source, std::string const& target,
                                                        bool overwrite) {
    HVMoveUnderWay const underWay;
    HVFileFailure failure = CheckMovePaths(source, target);
    if (!failure.Happened())
        failure = CopyFile(source, target, overwrite);
    ReleaseFileReservation(target);
    if (failure.Happened())
        return Report("CpFile",
                      "Can't copy \"" + source + "\" to \"" + target + "\": " + failure.reason + ".");
    return IHVError::MallocSucceed("HVFileProvider", __LINE__, "CpFile");
}

} // namespace Halvorn
