import sys

from kelvane.cli.main import main

sys.exit(main())
