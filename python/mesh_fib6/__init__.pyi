# The names of the package, for type checkers and editors: __init__.py gives itself those of the records.
#
# Room: python.

from ._codec import DecodeError as DecodeError
from ._codec import decode as decode
from ._codec import encode as encode
from ._codec import messages as messages
from ._codec import send as send
from ._record import Message as Message
from ._record import Record as Record
from ._record import ipv6 as ipv6
from ._record import ipv6_text as ipv6_text
from ._records import *

__version__: str
