#include "testing/support/tiny_models.h"

namespace Orvane::Testing {

namespace {

// The format requires a precision at every output, but does not take the element type from it.
std::string Port(int id, const std::vector<std::string>& dimensions, const std::string& names = "") {
    std::string text = "<port id=\"" + std::to_string(id) + "\" precision=\"FP32\"";
    text += names.empty() ? ">" : " names=\"" + names + "\">";
    for (const std::string& dimension : dimensions) {
        text += "<dim>" + (dimension == "?" ? "-1" : dimension) + "</dim>";
    }
    return text + "</port>";
}

std::string Layer(int id, const std::string& type, const std::string& content) {
    const std::string number = std::to_string(id);
    return "<layer id=\"" + number + "\" name=\"layer" + number + "\" type=\"" + type + "\" version=\"opset1\">" +
           content + "</layer>";
}

std::string Parameter(int id, const TinyPort& port) {
    std::string shape;
    for (const std::string& dimension : port.dimensions) {
        shape += (shape.empty() ? "" : ",") + dimension;
    }
    return Layer(id, "Parameter",
                 "<data shape=\"" + shape + "\" element_type=\"" + port.elementType + "\"/><output>" +
                     Port(0, port.dimensions, port.name) + "</output>");
}

std::string Result(int id, const std::vector<std::string>& dimensions) {
    return Layer(id, "Result", "<input>" + Port(0, dimensions) + "</input>");
}

std::string Edge(int from, int fromPort, int to, int toPort) {
    const auto end = [](const char* side, int layer, int port) {
        return side + ("-layer=\"" + std::to_string(layer) + "\" ") + side + "-port=\"" + std::to_string(port) + "\"";
    };
    return "<edge " + end("from", from, fromPort) + " " + end("to", to, toPort) + "/>";
}

std::string Net(const std::string& layers, const std::string& edges) {
    return "<?xml version=\"1.0\"?>\n<net name=\"tiny\" version=\"11\"><layers>" + layers + "</layers><edges>" + edges +
           "</edges></net>\n";
}

}  // namespace

std::string TinyModel::WriteTo(const TemporaryFolder& folder, const std::string& name) const {
    folder.Write(name + ".bin", weights);
    return folder.Write(name + ".xml", description);
}

TinyModel AddModel(const std::vector<float>& weights) {
    const std::vector<std::string> dimensions = {"1", std::to_string(weights.size())};
    TinyModel model;
    model.weights.assign(reinterpret_cast<const char*>(weights.data()), weights.size() * sizeof(float));
    const std::string constant = "<data element_type=\"f32\" shape=\"1," + dimensions[1] + "\" offset=\"0\" size=\"" +
                                 std::to_string(model.weights.size()) + "\"/><output>" + Port(0, dimensions) +
                                 "</output>";
    const std::string add = "<data auto_broadcast=\"numpy\"/><input>" + Port(0, dimensions) + Port(1, dimensions) +
                            "</input><output>" + Port(2, dimensions, "y") + "</output>";
    model.description = Net(Parameter(0, {"x", "f32", dimensions}) + Layer(1, "Const", constant) +
                                Layer(2, "Add", add) + Result(3, dimensions),
                            Edge(0, 0, 2, 0) + Edge(1, 0, 2, 1) + Edge(2, 2, 3, 0));
    return model;
}

TinyModel EchoModel(const std::vector<TinyPort>& ports) {
    std::string parameters;
    std::string results;
    std::string edges;
    const int count = static_cast<int>(ports.size());
    for (int i = 0; i < count; ++i) {
        const TinyPort& port = ports[static_cast<size_t>(i)];
        parameters += Parameter(i, port);
        results += Result(count + i, port.dimensions);
        edges += Edge(i, 0, count + i, 0);
    }
    return {Net(parameters + results, edges), {}};
}

}  // namespace Orvane::Testing
