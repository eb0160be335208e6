// Finds the faces in a picture and draws a frame around each.
// All that an application does with the SDK stands in this file, in the order in which it happens.

#include "face_decoder.h"
#include "picture.h"

#include <orvane/orvane.h>

#include <cmath>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// Every operation of the SDK that can fail returns a status, and the status says why; `explanation` tells the user
// what could not be done.
void Check(const Orvane::Status& status, const std::string& explanation) {
    if (!status.Ok()) {
        throw std::runtime_error(explanation + ":\n" + status.message);
    }
}

// The model runs in a process of the program `host`, or in this one when that is empty. Nothing else differs.
Orvane::Interpreter LoadModel(const std::string& path, const std::string& host) {
    const Orvane::OptionHandle options = Orvane::CreateOption();
    options->SetInt(Orvane::OptionCommonFramework, Orvane::FrameworkTypeOpenvino);
    options->SetString(Orvane::OptionCommonModelPath, path.c_str());
    options->SetString(Orvane::OptionCommonHost, host.c_str());

    Orvane::Interpreter interpreter;
    Check(interpreter.Init(*options), "cannot load " + path + ", give the face detector's model file" +
                                          (host.empty() ? "" : " and the path of orvane_host"));
    return interpreter;
}

// Another model than the face detector would have no such tensor, or one with another size.
void CheckTensor(const Orvane::TensorHandle& tensor, const std::string& name, size_t floatCount) {
    if (!tensor || tensor->GetDataType() != Orvane::DataTypeFloat32 ||
        tensor->GetByteSize() != floatCount * sizeof(float)) {
        throw std::runtime_error("the model has no " + name + " of " + std::to_string(floatCount) +
                                 " floats, give the face detector's model file");
    }
}

// The model takes red, green and blue of each pixel, scaled from 0..255 to -1..1.
void CopyIn(Orvane::Interpreter& interpreter, const Picture& square) {
    std::vector<float> values;
    for (const uint8_t channel : square.pixels) {
        values.push_back(static_cast<float>(channel) / 127.5F - 1);
    }
    const Orvane::TensorHandle input = interpreter.GetInput();
    CheckTensor(input, "input", values.size());
    Check(input->CopyFrom(values.data(), static_cast<uint32_t>(values.size() * sizeof(float))),
          "cannot hand the picture to the model");
}

std::vector<float> CopyOut(Orvane::Interpreter& interpreter, const std::string& name, size_t count) {
    std::vector<float> values(count);
    const Orvane::TensorHandle output = interpreter.GetTensorByName(Orvane::TensorTypeOutput, name);
    CheckTensor(output, "output " + name, count);
    Check(output->CopyTo(values.data(), static_cast<uint32_t>(values.size() * sizeof(float))),
          "cannot read the output " + name);
    return values;
}

// The faces in the picture, with boxes in the picture's own pixels.
std::vector<Face> DetectFaces(Orvane::Interpreter& interpreter, const Picture& picture) {
    CopyIn(interpreter, FitIntoSquare(picture, kInputSide));
    Check(interpreter.Invoke(), "cannot run the model");
    std::vector<Face> faces = DecodeFaces(CopyOut(interpreter, "regressors", kAnchorCount * kRegressorsPerAnchor),
                                          CopyOut(interpreter, "classificators", kAnchorCount));
    for (Face& face : faces) {
        face.box = FromSquare(face.box, picture, kInputSide);
    }
    return faces;
}

void PrintFaces(const std::string& picturePath, const std::vector<Face>& faces) {
    const std::string name = picturePath.substr(picturePath.find_last_of("/\\") + 1);
    if (faces.empty()) {
        std::printf("%s: no face\n", name.c_str());
        return;
    }
    std::printf("%s: %zu %s\n", name.c_str(), faces.size(), faces.size() == 1 ? "face" : "faces");
    for (const auto& [score, box] : faces) {
        std::printf("  score %.2f, box x %ld..%ld, y %ld..%ld\n", score, std::lround(box.left), std::lround(box.right),
                    std::lround(box.top), std::lround(box.bottom));
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() < 2 || arguments.size() > 4) {
        std::fprintf(stderr,
                     "usage: face_detection MODEL PICTURE [OUT.png [HOST]]\n"
                     "Finds the faces in PICTURE; OUT.png becomes a copy of it with a frame around each.\n"
                     "HOST is the path of the host program, orvane_host; the model then runs in a process of it.\n");
        return 2;
    }
    try {
        const std::string host = arguments.size() == 4 ? arguments[3] : "";
        Orvane::Interpreter interpreter = LoadModel(arguments[0], host);
        Picture picture = LoadPicture(arguments[1]);
        const std::vector<Face> faces = DetectFaces(interpreter, picture);
        PrintFaces(arguments[1], faces);
        if (arguments.size() >= 3) {
            for (const Face& face : faces) {
                DrawFrame(picture, face.box);
            }
            SavePicture(picture, arguments[2]);
        }
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "face_detection: %s\n", error.what());
        return 1;
    }
}
