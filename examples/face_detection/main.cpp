// Finds the faces in a picture and draws a frame around each.
// This file contains all uses of the SDK, in the order of the calls.

#include "face_decoder.h"
#include "picture.h"

#include <orvane/orvane.hpp>

#include <cmath>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// The model runs in a host process of the program `host`, or in this process if `host` is empty. Nothing else differs.
orvane::Model LoadModel(const std::string& path, const std::string& host) {
    orvane::Options options;
    options.modelPath = path;
    if (!host.empty()) {
        options.hostProgram = host;
    }
    try {
        return orvane::Model(options);
    } catch (const orvane::Error& error) {
        throw std::runtime_error("cannot load " + path + ", pass the face detector's model file" +
                                 (host.empty() ? "" : " and the path of orvane_host") + ":\n" + error.what());
    }
}

// The model takes red, green and blue of each pixel, scaled from 0..255 to -1..1.
std::vector<float> ScalePixels(const Picture& square) {
    std::vector<float> values;
    for (const uint8_t channel : square.pixels) {
        values.push_back(static_cast<float>(channel) / 127.5F - 1);
    }
    return values;
}

// Returns the faces in the picture, with boxes in pixels of the picture. If the model is not the face detector, the SDK
// says which tensor does not fit.
std::vector<Face> DetectFaces(orvane::Model& model, const Picture& picture) {
    std::vector<float> regressors(kAnchorCount * kRegressorsPerAnchor);
    std::vector<float> classificators(kAnchorCount);
    try {
        model.Set(0, ScalePixels(FitIntoSquare(picture, kInputSide)));
        model.Run();
        model.Get("regressors", regressors);
        model.Get("classificators", classificators);
    } catch (const orvane::Error& error) {
        throw std::runtime_error(std::string("cannot run the model, pass the face detector's model file:\n") +
                                 error.what());
    }
    std::vector<Face> faces = DecodeFaces(regressors, classificators);
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
                     "Finds the faces in PICTURE, and writes a copy with a frame around each to OUT.png.\n"
                     "HOST is the path of orvane_host: the model then runs in a host process.\n");
        return 2;
    }
    try {
        const std::string host = arguments.size() == 4 ? arguments[3] : "";
        orvane::Model model = LoadModel(arguments[0], host);
        Picture picture = LoadPicture(arguments[1]);
        const std::vector<Face> faces = DetectFaces(model, picture);
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
