"""Neural networks on this machine, each in a process of its own if you like.

    import numpy as np, orvane

    model = orvane.Model("face.tflite", host=True)
    boxes, scores = model.run(picture)

A model runs in this process, or, with ``host=True``, in a host process: a runtime that crashes there is an
``orvane.HostEnded`` here.
"""

from ._library import Error, HostEnded, Reason, decrypt, encrypt, set_log, version
from ._model import Model
from ._pool import Pool
from ._tensor import Tensor

__version__ = version()

__all__ = ["Error", "HostEnded", "Model", "Pool", "Reason", "Tensor", "decrypt", "encrypt", "set_log"]
