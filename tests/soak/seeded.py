"""Runs a test with a seed, and prints the command that repeats a failed run."""
import random
import shlex
import sys
import traceback

from machine import Failure


def repeat_command(*arguments):
    """Returns the shell command that runs this program with the same build and these arguments."""
    words = [sys.executable, sys.argv[0], sys.argv[1], *(f"{each}" for each in arguments)]
    return f"repeat with: {shlex.join(words)}"


def run(main, amount_type):
    """Exits with the result of `main`, which gets the arguments BUILD AMOUNT [SEED] and may raise
    Failure. The seed is random by default."""
    build, amount, *seeds = sys.argv[1:]
    seed = int(seeds[0]) if seeds else random.randrange(2**32)
    code = 1
    try:
        code = main(build, amount_type(amount), seed)
    except Failure as failure:
        print(failure, file=sys.stderr)
    except Exception:  # the command follows the traceback, so that it is not missed
        traceback.print_exc()
    if code != 0:
        print(repeat_command(amount, seed), file=sys.stderr)
    sys.exit(code)
