// The host program with the real backend, against the bytes of the call protocol.
#include "testing/support/tiny_models.h"
#include "testing/support/wire.h"

#include <gtest/gtest.h>

namespace Orvane {
namespace {

using namespace Testing::Wire;

std::string Floats(const std::vector<float>& values) {
    return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(float)};
}

TEST(RealHost, AnswersWithTheseBytes) {
    const Testing::TemporaryFolder folder;
    const std::string model = Testing::AddModel({0.5F, -2, 100}).WriteTo(folder, "加法");
    const std::string sums = Word(12) + Floats({1.5F, 0, 103}) + kSuccess;
    const std::pair<std::string, std::string> cases[] = {
        {Word(1) + Word(0), Word(0)},
        {Word(4), Word(0xFFFFFFFF) + Text("Not Init success!")},
        {InitRequest(model), kSuccess},
        {Word(1) + Word(0), Word(1)},
        {Word(1) + Word(1), Word(1)},
        {Word(2) + Word(0) + Word(0), Text("x") + Word(1) + Word(1) + Word(2) + Word(1) + Word(3)},
        {Word(2) + Word(1) + Word(0), Text("y") + Word(1) + Word(1) + Word(2) + Word(1) + Word(3)},
        {Word(3) + Word(0) + Word(12) + Floats({1, 2, 3}), kSuccess},
        {Word(3) + Word(0) + Word(13) + "one too large", Word(0xFFFFFFFF) + Text("数据大小错误")},
        {Word(4), kSuccess},
        {Word(5) + Word(0) + Word(12), sums},
        {Word(6) + Word(0), sums},
        {Word(7), Word(0)},
        {Word(9), ""},
    };
    HostUnderTest host(ORVANE_HOST_PATH);
    ASSERT_TRUE(host.Answers(InitRequest("no such model.xml")));
    EXPECT_EQ(host.Region().substr(0, 12), Word(0xFFFFFFFF) + LittleEndian(1, 4)) << "a failure with a text";
    EXPECT_NE(host.Region()[12], '\0');
    for (const auto& [request, reply] : cases) {
        ASSERT_TRUE(host.Answers(request, reply));
    }
    EXPECT_EQ(host.End(), "0");
}

}  // namespace
}  // namespace Orvane
