// The part of OpenVINO's C++ interface that the backend uses, built on the C interface. It is for compilers such as
// MinGW, which cannot link the runtime's C++ library. Names and behaviour are those of the real interface, so the
// backend's sources work with both.
//
// This header only declares the C structures: their headers define words that `windows.h` also defines.

#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iosfwd>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

struct ov_compiled_model;
struct ov_core;
struct ov_infer_request;
struct ov_model;
struct ov_output_const_port;
struct ov_tensor;

// The names are OpenVINO's. NOLINTBEGIN(readability-identifier-naming)
namespace ov {

// Without this namespace, on Linux the program's `ov::Core` would replace the class that the runtime's libraries use.
inline namespace over_c_interface {

class Exception : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

class NotImplemented : public Exception {
 public:
    using Exception::Exception;
};

namespace element {

enum class Type_t { boolean = 1, f16 = 3, f32 = 4, f64 = 5, i8 = 7, i16 = 8, i32 = 9, i64 = 10, u8 = 16 };

// Can also hold types that `Type_t` does not name.
class Type {
 public:
    constexpr Type(Type_t enumerator) : number(enumerator) {}
    constexpr operator Type_t() const { return number; }

    // In bytes, rounded up.
    size_t size() const;

 private:
    Type_t number;
};

inline constexpr Type u8(Type_t::u8);

}  // namespace element

class Dimension {
 public:
    // -1 is a dynamic dimension.
    explicit Dimension(int64_t size) : length(size) {}

    bool is_static() const { return length != -1; }
    int64_t get_length() const { return length; }

 private:
    int64_t length;
};

using PartialShape = std::vector<Dimension>;
using Shape = std::vector<size_t>;

// The backend passes no properties and reads two.
struct AnyMap {};
struct AvailableDevices {};
inline constexpr AvailableDevices available_devices;

namespace device {
struct FullName {};
inline constexpr FullName full_name;
}  // namespace device

class Node;

template <typename NodeType>
class Output;

// All objects are handles. Copies refer to the same object of the runtime, which lives as long as the last copy.

template <>
class Output<const Node> {
 public:
    explicit Output(ov_output_const_port* port);  // takes ownership

    std::string get_any_name() const;
    element::Type get_element_type() const;
    PartialShape get_partial_shape() const;

 private:
    std::shared_ptr<ov_output_const_port> handle;
};

// A model that was read but not compiled.
class Model {
 public:
    explicit Model(ov_model* model);

    std::vector<Output<const Node>> inputs() const;
    std::vector<Output<const Node>> outputs() const;

    // `shapes` are by the index of the input.
    void reshape(const std::map<size_t, PartialShape>& shapes);

 private:
    friend class Core;

    std::shared_ptr<ov_model> handle;
};

// Always throws, because the C interface writes no model files. The error says what to do.
[[noreturn]] void save_model(const std::shared_ptr<Model>& model, const std::filesystem::path& path, bool compress);

class Tensor {
 public:
    // Uses the caller's memory, which must outlive every use of the tensor.
    Tensor(const element::Type& type, const Shape& shape, void* memory);

    size_t get_byte_size() const;
    void* data();
    const void* data() const;

 private:
    friend class Core;
    friend class InferRequest;
    explicit Tensor(ov_tensor* tensor);

    std::shared_ptr<ov_tensor> handle;
};

class InferRequest {
 public:
    InferRequest() = default;

    void set_input_tensor(size_t index, const Tensor& tensor);
    Tensor get_output_tensor(size_t index);
    void infer();
    explicit operator bool() const noexcept { return handle != nullptr; }

 private:
    friend class CompiledModel;
    explicit InferRequest(std::shared_ptr<ov_infer_request> request) : handle(std::move(request)) {}

    std::shared_ptr<ov_infer_request> handle;
};

class CompiledModel {
 public:
    CompiledModel() = default;

    const std::vector<Output<const Node>>& inputs() const;
    const std::vector<Output<const Node>>& outputs() const;
    InferRequest create_infer_request();

    // The C interface only writes to a named file. So the plain model is for a short time in a file that only the user
    // may read, in the user's folder for temporary files. The file is removed before the stream gets its first byte,
    // and also if the export fails. It only remains if the process ends meanwhile.
    void export_model(std::ostream& stream);

 private:
    friend class Core;
    explicit CompiledModel(std::shared_ptr<ov_compiled_model> model);

    std::shared_ptr<ov_compiled_model> handle;
    std::vector<Output<const Node>> inputPorts;  // a host process needs their number for every call
    std::vector<Output<const Node>> outputPorts;
};

class Core {
 public:
    // An empty path selects the runtime's default configuration.
    explicit Core(const std::string& configPath);

    std::vector<std::string> get_available_devices() const;

    // The devices of one plugin. The C interface returns them as one text. The result has this text as its only
    // element, or is empty.
    std::vector<std::string> get_property(const std::string& plugin, const AvailableDevices&) const;
    std::string get_property(const std::string& device, const device::FullName&) const;

    // If the path of the weights is empty, the runtime finds them.
    std::shared_ptr<Model> read_model(const std::filesystem::path& model, const std::filesystem::path& weights) const;
    std::shared_ptr<Model> read_model(const std::string& description, const Tensor& weights) const;

    CompiledModel compile_model(const std::shared_ptr<Model>& model, const std::string& device, const AnyMap&);

    // Reads the stream from its position to its end. The model owns these bytes.
    CompiledModel import_model(std::istream& stream, const std::string& device, const AnyMap&);

 private:
    std::shared_ptr<ov_core> handle;
};

}  // namespace over_c_interface
}  // namespace ov
// NOLINTEND(readability-identifier-naming)
