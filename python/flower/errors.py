"""The exception raised when a library call fails."""


class FlowerError(RuntimeError):
    """A libflower call returned its failure result (false, 0 or null).

    The message names the call; ``call`` holds its name.
    """

    def __init__(self, call, detail=""):
        self.call = call
        message = "%s failed" % call
        if detail:
            message += ": " + detail
        super().__init__(message)
