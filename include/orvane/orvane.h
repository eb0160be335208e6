#pragma once

/// \file
/// Includes all headers of the C++ classes. Create an option set, call `Init` of an interpreter with it, copy data to
/// the input tensors, call `Invoke`, and copy the results from the output tensors. Most applications should use
/// `orvane.hpp` instead, which checks more and works with every compiler.

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
