"""The files that decide what a run of the tool does: where one is another than the resident has found, it forks no more."""

import os
import sys


def certificates():
    """The files and folders with which connections are secured."""
    import ssl

    from yt_dlp.dependencies import certifi

    paths = ssl.get_default_verify_paths()
    yield from filter(None, (paths.openssl_cafile, paths.openssl_capath, paths.cafile, paths.capath, certifi and certifi.where()))


def plugin_files():
    """All that decides which plugins the tool loads and what is in them: files, and folders that may hold some one day."""
    from yt_dlp import plugins, utils

    yield sys.executable
    yield from sys.path
    own = utils.get_executable_path()
    yield os.path.join(own, plugins.COMPAT_PACKAGE_NAME)
    for folder in (*utils.get_user_config_dirs("yt-dlp"), *utils.get_system_config_dirs("yt-dlp")):
        yield os.path.join(folder, "plugins")
    for folder in (own, *utils.get_user_config_dirs(""), *utils.get_system_config_dirs("")):
        yield os.path.join(folder, "yt-dlp-plugins")
    for path in plugins.default_plugin_paths():
        yield path
        for folder, _, files in os.walk(os.path.join(path, plugins.PACKAGE_NAME)):
            yield folder
            yield from (os.path.join(folder, file) for file in files if not file.endswith(".pyc"))


def identity(path):
    """What tells the file from another one of its path; None where there is none."""
    try:
        status = os.stat(path)
    except OSError:
        return None
    return status.st_dev, status.st_ino, status.st_size, status.st_mtime_ns
