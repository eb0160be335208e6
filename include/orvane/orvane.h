#pragma once

/// \file
/// The whole SDK. Create an option set, call `Init` of an interpreter with it, copy data into the input tensors, call
/// `Invoke`, and copy the results from the output tensors.

#include <orvane/host.h>
#include <orvane/host_end.h>
#include <orvane/interpreter.h>
#include <orvane/interpreter_params.h>
#include <orvane/log.h>
#include <orvane/model_file_cipher.h>
#include <orvane/option_v2.h>
#include <orvane/status.h>
#include <orvane/tensor_impl.h>
#include <orvane/tensor_info.h>
#include <orvane/version.h>
