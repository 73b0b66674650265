#pragma once
/// \class Halvorn::HVArgsBuilder
/// Turns one intention of the library into the argument list of one run of the tool.
///
/// An element of a list is one argument of the child process, never quoted or escaped; the program's name is
/// not in it. The address comes last, and where it begins with "-" the argument "--" stands before it, so
/// that the tool can't take it for an option. Lists hold passwords as they are.
///
/// Thread-safety: none; make a builder on the thread that runs the tool. The lists show what the option
/// records hold at the moment of the call. Ownership: the builder shares the bundle with its caller and
/// writes into it when a group is set. Nothing throws; faults are logged.

#include "HVExport.h"

#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

class IHVAdobePassAuthentication;
class IHVAuthenticationOptions;
class IHVCertificateAuthentication;
class IHVDownloadCookies;
class IHVDownloadItem;
class IHVDownloadOptions;
class IHVGeneralAuthentication;
class IHVGeneralOptions;
class IHVGeoRestrictionOptions;
class IHVNetrcAuthentication;
class IHVNetworkOptions;

class HV_EXPORT HVArgsBuilder {
public:
    HVArgsBuilder() = default;
    /// Shares `options`; they may be empty.
    explicit HVArgsBuilder(std::shared_ptr<IHVDownloadOptions> options);

    /// Path of the tool that is in force, of the local copy or of the built-in one. Empty when the local copy
    /// is enabled and has no usable folder: there is no fallback.
    static std::string GetDownloadCommadExe();
    /// The same for ffmpeg.
    static std::string GetMergeCommandExe();

    /// Path of the JS runtime (deno) that the tool is told of; empty for none.
    void SetJsRuntimePath(std::string const& path);
    /// Replaces the bundle; an empty pointer leaves the builder without one.
    void SetDownloadOpitons(std::shared_ptr<IHVDownloadOptions> options);

    ///@{
    /// Sets one group of the bundle, and makes a bundle first where there is none. The group is shared, not
    /// copied; an empty pointer makes it absent.
    void SetGeneralOptions(std::shared_ptr<IHVGeneralOptions> options);
    void SetNetworkOptions(std::shared_ptr<IHVNetworkOptions>& options);
    void SetAuthenticationOptions(std::shared_ptr<IHVAuthenticationOptions>& options);
    void SetGeoRestrictionOptions(std::shared_ptr<IHVGeoRestrictionOptions> options);
    void SetDownloadCookiesOpitons(std::shared_ptr<IHVDownloadCookies> cookies);
    ///@}

    /// Whether the address holds, anywhere in it, the https address of YouTube's main site.
    bool IsYoutube(std::string const& url) const;

    /// Lists a playlist flat. Empty for an empty address.
    std::vector<std::string> BuildSearchItemsArgs(std::string const& url, bool useJson) const;
    /// Analyses one address: as JSON, or as printed tables.
    std::vector<std::string> BuildParsePlayItemArgs(std::string const& url, bool useJson) const;
    /// Analyses entry `index`, counted from 0, of a playlist.
    std::vector<std::string> BuildParseListItemArgs(std::string const& url, int index, bool useJson) const;

    /// Downloads the item in its current format to the path `output`. Without a current format the list
    /// breaks off before the format, without address and output; empty for no item, and for an item that has
    /// neither an address nor a playlist with one. With a conversion (IHVConversionOptions) the tool is told
    /// `output` with the extension that the file comes to, and appends to the path with the extension "files"
    /// a line of JSON for each file that it has made.
    std::vector<std::string> BuildDownloadItemArgs(IHVDownloadItem const* item,
                                                   std::string const& output) const;
    /// Downloads a live stream, without any options. Empty when the item is none or has no address.
    std::vector<std::string> BuildDownloadLiveArgs(IHVDownloadItem const* item,
                                                   std::string const& output) const;
    /// Fetches a thumbnail's data to the path `output`.
    std::vector<std::string> BuildDownloadThumbArgs(std::string const& url, std::string const& output) const;

    /// Authentication, network and geo-restriction arguments, in this order.
    std::vector<std::string> BuildOptionsArgs() const;
    /// Rates, retries, fragments; empty without a record.
    std::vector<std::string> BuildGeneralOptions() const;
    /// The cookies file, or else the browser; empty without a record.
    std::vector<std::string> BuildCookiesptions() const;
    ///@{
    /// A part of BuildOptionsArgs; empty without the record.
    std::vector<std::string> BuildAuthOptionsArgs() const;
    std::vector<std::string> BuildNetworkOptsArgs() const;
    std::vector<std::string> BuildGeoOptsArgs() const;
    ///@}
    ///@{
    /// Appends the arguments of one way to log in; nothing for an empty pointer.
    void BuildGeneralAuthOptionsArgs(std::vector<std::string>& args,
                                     std::shared_ptr<IHVGeneralAuthentication> const& method) const;
    void BuildNetrcAuthOptionsArgs(std::vector<std::string>& args,
                                   std::shared_ptr<IHVNetrcAuthentication> const& method) const;
    void BuildAdobePassAuthOptionsArgs(std::vector<std::string>& args,
                                       std::shared_ptr<IHVAdobePassAuthentication> const& method) const;
    void BuildCertificateAuthOptionsArgs(std::vector<std::string>& args,
                                         std::shared_ptr<IHVCertificateAuthentication> const& method) const;
    ///@}

private:
    IHVDownloadOptions& Bundle();
    /// Begins every command.
    std::vector<std::string> BuildConfigurationArgs() const;
    /// What the two analysis commands have in common.
    void AppendParseArgs(std::vector<std::string>& args, std::string const& url, bool useJson) const;
    /// Where a live stream begins, and the JS runtime.
    void AppendLiveAndRuntime(std::vector<std::string>& args, std::string const& url) const;

    std::shared_ptr<IHVDownloadOptions> options_;
    std::string jsRuntimePath_;
};

} // namespace Halvorn
