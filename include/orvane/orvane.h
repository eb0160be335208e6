#pragma once

/// \file
/// Includes all headers of the C++ classes. Create an option set, and pass it to `Init` of an interpreter. Copy data to
/// the input tensors, call `Invoke`, and copy the results from the output tensors. Most applications should include
/// `orvane.hpp` instead: it checks more, and works with every compiler.

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
