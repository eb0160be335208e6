#include <openvino/openvino.hpp>

#include "backends/openvino/mingw/private_file.h"
#include "backends/openvino/mingw/stream_content.h"
#include "platform/process.h"

#include <openvino/c/openvino.h>

#include <deque>
#include <filesystem>
#include <fstream>
#include <new>
#include <ostream>
#include <stdexcept>
#include <utility>

namespace ov {
inline namespace over_c_interface {

namespace {

// Names of properties. The C interface also has variables for them, but a library that is loaded later cannot provide
// variables.
constexpr const char* kAvailableDevices = "AVAILABLE_DEVICES";
constexpr const char* kDeviceFullName = "FULL_DEVICE_NAME";

struct FreeText {
    void operator()(const char* text) const { ov_free(text); }
};
using Text = std::unique_ptr<const char, FreeText>;

// Throws the exception that the runtime threw inside the C interface. The C interface keeps only one error text per
// process: if calls fail on two threads at the same time, one may get the other's text.
void Check(ov_status_e status) {
    switch (status) {
        case ov_status_e::OK:
            return;
        case ov_status_e::UNKNOW_EXCEPTION:
            throw std::bad_alloc();  // all other exceptions of the runtime have a text
        case ov_status_e::GENERAL_ERROR:
        case ov_status_e::NOT_IMPLEMENTED:
        case ov_status_e::REQUEST_BUSY:
        case ov_status_e::INFER_CANCELLED:
            if (const Text text(ov_get_last_err_msg()); text) {
                throw Exception(text.get());
            }
            [[fallthrough]];
        default:
            throw Exception(ov_get_error_info(status));  // an error of the C interface itself has no text
    }
}

template <typename Handle>
void RequireInitialized(const Handle& handle, const std::string& name) {
    if (!handle) {
        throw Exception(name + " was not initialized.\n");
    }
}

// A compiled model and its requests use the bytes that the model was imported from.
struct FreeImportedModel {
    Orvane::AlignedBuffer bytes;
    void operator()(ov_compiled_model* model) const { ov_compiled_model_free(model); }
};

struct FreeRequest {
    std::shared_ptr<ov_compiled_model> model;
    void operator()(ov_infer_request* request) const { ov_infer_request_free(request); }
};

// The character type of a path selects one of these two: wide on Windows, UTF-8 elsewhere.
[[maybe_unused]] ov_status_e ReadModel(const ov_core* core, const char* model, const char* weights, ov_model** read) {
    return ov_core_read_model(core, model, weights, read);
}

[[maybe_unused]] ov_status_e ReadModel(const ov_core* core, const wchar_t* model, const wchar_t* weights,
                                       ov_model** read) {
    return ov_core_read_model_unicode(core, model, weights, read);
}

Orvane::StreamContent Export(const ov_compiled_model* model) {
    try {
        const Orvane::PrivateFile file;
        const ov_status_e status = ov_compiled_model_export_model(model, file.NarrowPath().c_str());
        std::ifstream exported(file.Path(), std::ios::binary);
        if (!exported) {
            throw Exception("cannot write to the folder for temporary files");
        }
        Check(status);
        return Orvane::ReadToEnd(exported);
    } catch (const Exception&) {
        throw;
    } catch (const std::runtime_error& error) {  // from `PrivateFile`
        throw Exception(error.what());
    }
}

template <typename Owner, typename CountPorts, typename GetPort>
std::vector<Output<const Node>> PortsOf(const Owner* owner, CountPorts countPorts, GetPort getPort) {
    size_t count = 0;
    Check(countPorts(owner, &count));
    std::vector<Output<const Node>> ports;
    for (size_t i = 0; i < count; ++i) {
        ov_output_const_port* port = nullptr;
        Check(getPort(owner, i, &port));
        ports.emplace_back(port);
    }
    return ports;
}

// The C interface's type for a shape. Owns its dimensions.
class PlainShape {
 public:
    explicit PlainShape(const PartialShape& dimensions) {
        std::vector<ov_dimension_t> plain;
        for (const Dimension& dimension : dimensions) {
            plain.push_back({dimension.get_length(), dimension.get_length()});
        }
        Check(ov_partial_shape_create(static_cast<int64_t>(plain.size()), plain.data(), &shape));
    }
    ~PlainShape() { ov_partial_shape_free(&shape); }
    PlainShape(const PlainShape&) = delete;
    PlainShape& operator=(const PlainShape&) = delete;

    const ov_partial_shape_t& Get() const { return shape; }

 private:
    ov_partial_shape_t shape{};
};

constexpr bool Same(element::Type_t type, ov_element_type_e number) {
    return static_cast<int>(type) == static_cast<int>(number);
}
using element::Type_t;
static_assert(Same(Type_t::boolean, BOOLEAN) && Same(Type_t::f16, F16) && Same(Type_t::f32, F32) &&
              Same(Type_t::f64, F64) && Same(Type_t::i8, I8) && Same(Type_t::i16, I16) && Same(Type_t::i32, I32) &&
              Same(Type_t::i64, I64) && Same(Type_t::u8, U8));

}  // namespace

namespace element {

size_t Type::size() const {
    switch (static_cast<ov_element_type_e>(number)) {
        case DYNAMIC:
            return 0;
        case BOOLEAN:
        case I4:
        case I8:
        case U1:
        case U2:
        case U3:
        case U4:
        case U6:
        case U8:
        case NF4:
        case F4E2M1:
        case F8E4M3:
        case F8E5M3:
        case F8E8M0:
            return 1;
        case BF16:
        case F16:
        case I16:
        case U16:
            return 2;
        case F32:
        case I32:
        case U32:
            return 4;
        case F64:
        case I64:
        case U64:
            return 8;
        case STRING:
            return sizeof(std::string);
    }
    return 0;
}

}  // namespace element

Output<const Node>::Output(ov_output_const_port* port) : handle(port, ov_output_const_port_free) {}

std::string Output<const Node>::get_any_name() const {
    char* name = nullptr;
    Check(ov_port_get_any_name(handle.get(), &name));
    return Text(name).get();
}

element::Type Output<const Node>::get_element_type() const {
    ov_element_type_e number{};
    Check(ov_port_get_element_type(handle.get(), &number));
    return static_cast<element::Type_t>(number);
}

PartialShape Output<const Node>::get_partial_shape() const {
    ov_partial_shape_t shape{};
    Check(ov_port_get_partial_shape(handle.get(), &shape));
    const std::shared_ptr<ov_partial_shape_t> owner(&shape, ov_partial_shape_free);
    if (ov_rank_is_dynamic(shape.rank)) {
        return {};
    }
    PartialShape dimensions;
    for (int64_t i = 0; i < shape.rank.max; ++i) {
        dimensions.emplace_back(ov_dimension_is_dynamic(shape.dims[i]) ? -1 : shape.dims[i].max);
    }
    return dimensions;
}

Model::Model(ov_model* model) : handle(model, ov_model_free) {}

std::vector<Output<const Node>> Model::inputs() const {
    return PortsOf(handle.get(), ov_model_inputs_size, ov_model_const_input_by_index);
}

std::vector<Output<const Node>> Model::outputs() const {
    return PortsOf(handle.get(), ov_model_outputs_size, ov_model_const_output_by_index);
}

void Model::reshape(const std::map<size_t, PartialShape>& shapes) {
    std::deque<PlainShape> owners;
    std::vector<size_t> indexes;
    std::vector<ov_partial_shape_t> plain;
    for (const auto& [index, shape] : shapes) {
        indexes.push_back(index);
        plain.push_back(owners.emplace_back(shape).Get());
    }
    Check(ov_model_reshape_by_port_indexes(handle.get(), indexes.data(), plain.data(), plain.size()));
}

void save_model(const std::shared_ptr<Model>&, const std::filesystem::path&, bool) {
    throw NotImplemented(
        "This build reaches OpenVINO through its C interface, which cannot write a model file.\n"
        "Write it with a build over the C++ interface, on Linux for instance, or with OpenVINO's Python package: "
        "openvino.save_model.");
}

Tensor::Tensor(const element::Type& type, const Shape& shape, void* memory) {
    std::vector<int64_t> dimensions(shape.begin(), shape.end());
    const ov_shape_t view{static_cast<int64_t>(dimensions.size()), dimensions.data()};
    ov_tensor* tensor = nullptr;
    Check(ov_tensor_create_from_host_ptr(static_cast<ov_element_type_e>(element::Type_t{type}), view, memory, &tensor));
    *this = Tensor(tensor);
}

Tensor::Tensor(ov_tensor* tensor) : handle(tensor, ov_tensor_free) {}

size_t Tensor::get_byte_size() const {
    size_t size = 0;
    Check(ov_tensor_get_byte_size(handle.get(), &size));
    return size;
}

const void* Tensor::data() const {
    void* bytes = nullptr;
    Check(ov_tensor_data(handle.get(), &bytes));
    return bytes;
}

void* Tensor::data() {
    return const_cast<void*>(std::as_const(*this).data());
}

void InferRequest::set_input_tensor(size_t index, const Tensor& tensor) {
    RequireInitialized(handle, "InferRequest");
    Check(ov_infer_request_set_input_tensor_by_index(handle.get(), index, tensor.handle.get()));
}

Tensor InferRequest::get_output_tensor(size_t index) {
    RequireInitialized(handle, "InferRequest");
    ov_tensor* tensor = nullptr;
    Check(ov_infer_request_get_output_tensor_by_index(handle.get(), index, &tensor));
    return Tensor(tensor);
}

void InferRequest::infer() {
    RequireInitialized(handle, "InferRequest");
    Check(ov_infer_request_infer(handle.get()));
}

CompiledModel::CompiledModel(std::shared_ptr<ov_compiled_model> model)
    : handle(std::move(model)),
      inputPorts(PortsOf(handle.get(), ov_compiled_model_inputs_size, ov_compiled_model_input_by_index)),
      outputPorts(PortsOf(handle.get(), ov_compiled_model_outputs_size, ov_compiled_model_output_by_index)) {}

const std::vector<Output<const Node>>& CompiledModel::inputs() const {
    RequireInitialized(handle, "CompiledModel");
    return inputPorts;
}

const std::vector<Output<const Node>>& CompiledModel::outputs() const {
    RequireInitialized(handle, "CompiledModel");
    return outputPorts;
}

InferRequest CompiledModel::create_infer_request() {
    RequireInitialized(handle, "CompiledModel");
    ov_infer_request* request = nullptr;
    Check(ov_compiled_model_create_infer_request(handle.get(), &request));
    return InferRequest({request, FreeRequest{handle}});
}

void CompiledModel::export_model(std::ostream& stream) {
    RequireInitialized(handle, "CompiledModel");
    Orvane::StreamContent exported = Export(handle.get());
    stream.write(reinterpret_cast<const char*>(exported.bytes.Data()), static_cast<std::streamsize>(exported.size));
}

// Every use of the runtime begins with a core, so this loads the runtime. In orvane_c.dll and the host program it is
// not loaded before. Any other call would end the process if the runtime cannot be loaded. The second folder is in
// Python's package openvino, beside the package orvane.
Core::Core(const std::string& configPath) {
    const uint32_t error = Orvane::Platform::LoadLibraryBesideThisCode("openvino_c.dll", "../../openvino/libs");
    if (error != 0) {
        throw Exception(
            "openvino_c.dll cannot be loaded (Windows error " + std::to_string(error) +
            "): the DLLs of OpenVINO must be in the folder of Orvane's DLL or program, and the Microsoft Visual C++ "
            "Redistributable 2015-2022 (vc_redist.x64.exe) must be installed");
    }
    ov_core* core = nullptr;
    Check(ov_core_create_with_config(configPath.c_str(), &core));
    handle.reset(core, ov_core_free);
}

std::vector<std::string> Core::get_available_devices() const {
    ov_available_devices_t devices{};
    Check(ov_core_get_available_devices(handle.get(), &devices));
    const std::shared_ptr<ov_available_devices_t> owner(&devices, ov_available_devices_free);
    return {devices.devices, devices.devices + devices.size};
}

std::vector<std::string> Core::get_property(const std::string& plugin, const AvailableDevices&) const {
    char* devices = nullptr;
    Check(ov_core_get_property(handle.get(), plugin.c_str(), kAvailableDevices, &devices));
    const Text text(devices);
    return *text.get() == '\0' ? std::vector<std::string>() : std::vector<std::string>{text.get()};
}

std::string Core::get_property(const std::string& device, const device::FullName&) const {
    char* name = nullptr;
    Check(ov_core_get_property(handle.get(), device.c_str(), kDeviceFullName, &name));
    return Text(name).get();
}

std::shared_ptr<Model> Core::read_model(const std::filesystem::path& model,
                                        const std::filesystem::path& weights) const {
    ov_model* read = nullptr;
    Check(ReadModel(handle.get(), model.c_str(), weights.c_str(), &read));
    return std::make_shared<Model>(read);
}

std::shared_ptr<Model> Core::read_model(const std::string& description, const Tensor& weights) const {
    // The C interface itself refuses an empty text. For a blank, the runtime returns the error that it has for an empty
    // text.
    const std::string text = description.empty() ? " " : description;
    ov_model* read = nullptr;
    Check(ov_core_read_model_from_memory_buffer(handle.get(), text.data(), text.size(), weights.handle.get(), &read));
    return std::make_shared<Model>(read);
}

CompiledModel Core::compile_model(const std::shared_ptr<Model>& model, const std::string& device, const AnyMap&) {
    ov_compiled_model* compiled = nullptr;
    Check(ov_core_compile_model(handle.get(), model->handle.get(), device.c_str(), 0, &compiled));
    return CompiledModel({compiled, ov_compiled_model_free});
}

CompiledModel Core::import_model(std::istream& stream, const std::string& device, const AnyMap&) {
    Orvane::StreamContent content = Orvane::ReadToEnd(stream);
    const char* bytes = reinterpret_cast<const char*>(content.bytes.Data());
    ov_compiled_model* compiled = nullptr;
    Check(ov_core_import_model(handle.get(), bytes, content.size, device.c_str(), &compiled));
    return CompiledModel({compiled, FreeImportedModel{std::move(content.bytes)}});
}

}  // namespace over_c_interface
}  // namespace ov
