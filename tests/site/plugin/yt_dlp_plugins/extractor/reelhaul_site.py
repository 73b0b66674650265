"""Lets yt-dlp read the test site: put this folder's "plugin" ancestor on PYTHONPATH.

The site decides everything: its description of an address is passed on as it is. Only
manifests are read here, with the tool's own readers. A login goes to it as basic authentication.
"""

import base64

from yt_dlp.extractor.common import InfoExtractor


class ReelhaulSiteIE(InfoExtractor):
    _VALID_URL = r"(?P<base>https?://(?:127\.0\.0\.1|localhost):\d+)/(?P<kind>watch|list)/(?P<id>[^/?#]+)(?P<query>\?[^#]*)?"
    IE_NAME = "reelhaul-site"
    _NETRC_MACHINE = "reelhaul-site"

    def _complete(self, info):
        for manifest in info.pop("manifests", []):
            if manifest["kind"] == "hls":
                formats = self._extract_m3u8_formats(manifest["url"], info["id"], "mp4", live=info.get("is_live"))
            else:
                formats = self._extract_mpd_formats(manifest["url"], info["id"])
            info.setdefault("formats", []).extend(formats)
        for entry in info.get("entries") or []:
            self._complete(entry)
        return info

    def _real_extract(self, url):
        base, kind, name, query = self._match_valid_url(url).group("base", "kind", "id", "query")
        user, password = self._get_login_info()
        login = base64.b64encode(f"{user}:{password}".encode()).decode()
        return self._complete(self._download_json(f"{base}/api/{kind}/{name}.json{query or ''}", name,
                                                  headers={"Authorization": f"Basic {login}"} if user else {}))
