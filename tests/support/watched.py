"""Programs that a test starts, and that hang, tell where."""

import os


def watched(seconds):
    """The environment of a program that may take so long: then it writes the stacks of its threads
    to stderr and aborts. Where ctest did not say by which library, the usual environment."""
    library = os.environ.get("TORVELSI_WATCHDOG")
    limit = {"LD_PRELOAD": library, "TORVELSI_TEST_LIMIT": str(seconds)} if library else {}
    return {**os.environ, **limit}
