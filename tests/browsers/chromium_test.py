"""Cookies of a Chromium that runs."""

import unittest

from browsers import Chromium
from servers import ServerTest
from visits import Browsers


class ChromiumTest(Browsers, ServerTest):
    kind = Chromium


if __name__ == "__main__":
    unittest.main()
