// This test needs Linux and the runtime's C++ interface, because it replaces functions of the runtime.
#include "backends/openvino/openvino_wrapper.h"
#include "testing/support/temporary_folder.h"
#include "testing/support/tiny_models.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <memory>
#include <string>

namespace {

std::weak_ptr<const ov::Model> compiled;
bool wasReleased = false;

template <typename Function>
Function* Replaced(const char* symbol) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol));
}

}  // namespace

// These functions call the originals. They also record whether the model still exists when its compiled form is
// exported.
namespace ov {

CompiledModel Core::compile_model(const std::shared_ptr<const Model>& model, const std::string& device,
                                  const AnyMap& properties) {
    compiled = model;
    return Replaced<CompiledModel(Core*, const std::shared_ptr<const Model>&, const std::string&, const AnyMap&)>(
        "_ZN2ov4Core13compile_modelERKSt10shared_ptrIKNS_5ModelEERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE"
        "RKSt3mapISC_NS_3AnyESt4lessISC_ESaISt4pairISD_SG_EEE")(this, model, device, properties);
}

void CompiledModel::export_model(std::ostream& stream) {
    wasReleased = compiled.expired();
    Replaced<void(CompiledModel*, std::ostream&)>("_ZN2ov13CompiledModel12export_modelERSo")(this, stream);
}

}  // namespace ov

namespace Orvane {
namespace {

TEST(OpenvinoWrapperPosix, ReleasesTheModelBeforeItWritesTheCache) {
    const Testing::TemporaryFolder folder;
    InterpreterParams params;
    params.modelPath = Testing::AddModel({10}).WriteTo(folder, "加法");
    params.openvinoCachePath = folder.Path("缓存");
    params.openvinoMakeCache = true;
    OpenvinoWrapper wrapper;
    EXPECT_EQ(wrapper.Init(params).message, "");
    EXPECT_TRUE(wasReleased);
    EXPECT_NE(Testing::ReadBytes(params.openvinoCachePath), "");
}

}  // namespace
}  // namespace Orvane
