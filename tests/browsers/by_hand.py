"""What no usual run of the tests tries: a Firefox, and what takes long; scripts/browsers.sh calls this."""

import unittest

from browsers import Chromium, Firefox
from servers import ServerTest
from visits import Patience


class FirefoxTest(Patience, ServerTest):
    kind = Firefox


class PatientChromiumTest(Patience, ServerTest):
    kind = Chromium


if __name__ == "__main__":
    unittest.main()
