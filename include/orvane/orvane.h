#pragma once

/// \file
/// The whole SDK: create an option set, initialise an interpreter with it, copy data into its input tensors,
/// invoke it, copy the results out of its output tensors.

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
