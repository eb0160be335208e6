"""Neural networks on this machine, in this process or in host processes.

    import numpy as np, orvane

    model = orvane.Model("face.tflite", host=True)
    boxes, scores = model.run(picture)

With ``host=True`` the model runs in a host process: if it crashes there, your call raises ``orvane.HostEnded`` and
your program keeps running.
"""

from ._errors import Error, HostEnd, HostEnded, NoSuchFile, Reason
from ._files import Device, Tensors, decrypt, describe, devices, encrypt
from ._library import set_log, version
from ._model import Model
from ._pool import Pool
from ._static import reshape
from ._tensor import Tensor
from ._watch import LoadStep

__version__ = version()

__all__ = [
    "Device", "Error", "HostEnd", "HostEnded", "LoadStep", "Model", "NoSuchFile", "Pool", "Reason", "Tensor", "Tensors",
    "decrypt", "describe", "devices", "encrypt", "reshape", "set_log",
]

for _name in __all__:
    globals()[_name].__module__ = __name__  # where users find it, for messages and for pickle
