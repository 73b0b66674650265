#include "HVFileSystem.h"
#include "IHVFileProvider.h"

#include <algorithm>
#include <random>
#include <string_view>

namespace Halvorn {

namespace {

bool IsAlphanumeric(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// Position of the extension's point in the last component, or npos.
std::size_t ExtensionPoint(std::string_view path) {
    std::size_t const slash = path.rfind('/');
    std::size_t const begin = slash == std::string_view::npos ? 0 : slash + 1;
    std::size_t const firstOther = path.find_first_not_of('.', begin);
    if (firstOther == std::string_view::npos)
        return std::string_view::npos;
    std::size_t const point = path.rfind('.');
    return point != std::string_view::npos && point > firstOther ? point : std::string_view::npos;
}

/// The path of an address, without its query, fragment and parameters.
std::string_view URLPath(std::string_view url) {
    url = url.substr(0, url.find_first_of("?#"));
    if (std::size_t const scheme = url.find("://"); scheme != std::string_view::npos) {
        std::size_t const path = url.find('/', scheme + 3);
        url = path == std::string_view::npos ? std::string_view() : url.substr(path);
    }
    std::size_t const slash = url.rfind('/');
    std::size_t const parameters = url.find(';', slash == std::string_view::npos ? 0 : slash);
    return url.substr(0, parameters);
}

} // namespace

std::string LegalExtension(std::string const& extension) {
    std::string result;
    for (char const c : extension.substr(0, 16))
        if (IsAlphanumeric(c) || c == '-' || c == '_')
            result += c;
    return result;
}

std::string IHVFileProvider::AppendPathComponent(std::string const& path, std::string const& component) {
    if (path.empty() || component.empty())
        return path + component;
    std::string result = path;
    if (result.back() != '/')
        result += '/';
    result.append(component, component.front() == '/' ? 1 : 0);
    return result;
}

std::string IHVFileProvider::AppendPathExtension(std::string const& path, std::string const& extension) {
    return path + "." + extension;
}

std::string IHVFileProvider::RemovePathExtension(std::string const& path) {
    return path.substr(0, ExtensionPoint(path));
}

std::string IHVFileProvider::URLExtension(std::string const& url) {
    std::string_view const path = URLPath(url);
    std::size_t const point = ExtensionPoint(path);
    if (point == std::string_view::npos)
        return {};
    std::string_view const extension = path.substr(point + 1);
    // It comes from a stranger and becomes part of a file name: what does not look like one isn't taken.
    bool const plain =
        extension.size() <= 16 && std::all_of(extension.begin(), extension.end(), IsAlphanumeric);
    return plain ? std::string(extension) : std::string();
}

std::string IHVFileProvider::CreateRandomFileName(std::string const& extension, int length) {
    // Lower case only: on a system that ignores case, two names that differ in it would be one.
    static constexpr std::string_view alphabet = "0123456789abcdefghijklmnopqrstuvwxyz";
    std::random_device device;
    std::uniform_int_distribution<std::size_t> pick(0, alphabet.size() - 1);
    std::string name;
    for (int i = 0; i < length; ++i)
        name += alphabet[pick(device)];
    std::string const legal = LegalExtension(extension);
    return legal.empty() ? name : AppendPathExtension(name, legal);
}

} // namespace Halvorn
