"""Fails as extractors do: "fault:NAME". What the words of a row are, a site has said."""

import errno

from yt_dlp.extractor.common import InfoExtractor
from yt_dlp.utils import ExtractorError, UserNotLive

WORDS = {
    "age": "Sign in to confirm your age. This video may be inappropriate for some users",
    "members": "Join this channel to get access to members-only content like this video",
    "premieres": "Premieres in 3 hours",
    "private": "Private video. Sign in if you've been granted access to this video",
    "removed": "This video has been removed by the uploader",
    "odd": "The site's elephants are on strike",
}


class ReelhaulFaultsIE(InfoExtractor):
    _VALID_URL = r"fault:(?P<id>\w+)"
    IE_NAME = "reelhaul-faults"

    def _real_extract(self, url):
        name = self._match_id(url)
        if name in WORDS:
            raise ExtractorError(WORDS[name], expected=True)
        if name == "region":
            self.raise_geo_restricted("It is shown elsewhere", countries=["FR"])
        if name == "login":
            self.raise_login_required("Members of the club see more")
        if name == "drm":
            self.report_drm(name)
        if name == "offline":
            raise UserNotLive
        if name == "changed":
            self._search_regex("a", "b", "title")
        if name == "crash":
            raise RuntimeError("Private video, says nobody")
        if name == "disk":
            raise OSError(errno.ENOSPC, "words of another language")
        raise ExtractorError("no such fault", expected=True)
