#pragma once
/// \class Halvorn::HVNameTemplate
/// How the files of downloads are called: a text with fields, such as "{playlist}/{index} {title}". A "/" in
/// the text begins a folder below the target folder; the extension is added by itself.
///
/// | field        | what stands in its place |
/// |--------------|-------------------------------------------------------------------------------------------|
/// | `{title}`    | the item's proposed name, IHVDownloadItem::GetFileName | | `{uploader}` | who put it
/// there                                                                          | | `{date}`     | of the
/// upload, "YYYY-MM-DD"                                                               | | `{id}`       | the
/// site's identifier                                                                     | | `{playlist}` |
/// title of the list that the item was loaded from                                           | | `{index}` |
/// its place there, from 1, with zeros in front where the list's last number has more digits | | `{height}`
/// | of the chosen format's picture, in pixels                                                 | |
/// `{language}` | of the chosen format's sound                                                              |
///
/// "{{" and "}}" stand for the braces themselves. What is not known is left out, and with it the brackets
/// around it and what separates it from its neighbour (blanks, "-", "_", ",", "." and the like); a folder of
/// which nothing is left is left out, too, and a file's name becomes the title. A "/" in a value makes no
/// folder. Each folder and the file get a legal name: of one that is too long the longest value is cut.
///
/// Thread-safety: all operations may be called from any thread; none blocks for long.

#include "HVExport.h"
#include "IHVError.h"

#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

class IHVDownloadItem;

class HV_EXPORT HVNameTemplate {
public:
    HVNameTemplate() = delete;

    /// The names of the fields, without braces.
    static std::vector<std::string> Fields();
    /// Success for a template that can be used; else the message tells what is wrong with it. A field that is
    /// not known is, a name that ends with "/", and one that would lead out of the target folder.
    static std::shared_ptr<IHVError const> Check(std::string const& text);
    /// The path below `folder` that the item's file would get as it is chosen now, without its extension and
    /// the number of a name that is taken; empty for a template that can't be used. The folder need not
    /// exist: it tells how long a name may be.
    static std::string PathOf(std::string const& text, IHVDownloadItem const& item,
                              std::string const& folder = {});
};

} // namespace Halvorn
