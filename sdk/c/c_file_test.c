// Tests functions for files without a loaded model: encryption, description, reshaping.
#include "c_test_support.h"

void TestFiles(const char* host) {
    const char* model = EchoModel("files.xml", "f32", "1,3");
    const char* secret = "secret.xml";
    const char* weights = Write("secret.bin", "");
    const uint8_t key[4] = {'k', 'e', 'y', '!'};
    orvane_options options = Options(secret, host);

    remove(secret);
    FAILS(orvane_encrypt_file(NULL, secret, key, 4, 1, NULL, NULL), ORVANE_BAD_ARGUMENT,
          "the path of the file to read is null");
    FAILS(orvane_encrypt_file(model, NULL, key, 4, 1, NULL, NULL), ORVANE_BAD_ARGUMENT,
          "the path of the file to write is null");
    FAILS(orvane_encrypt_file("\xFF", secret, key, 4, 1, NULL, NULL), ORVANE_BAD_ARGUMENT,
          "the path of the file to read is not UTF-8");
    FAILS(orvane_encrypt_file(model, secret, key, 0, 1, NULL, NULL), ORVANE_BAD_ARGUMENT,
          "the key has 0 bytes: pass 1 to 4");
    FAILS(orvane_decrypt_file(model, secret, key, 5, NULL, NULL), ORVANE_BAD_ARGUMENT,
          "the key has 5 bytes: pass 1 to 4");
    FAILS(orvane_encrypt_file(model, secret, NULL, 4, 1, NULL, NULL), ORVANE_BAD_ARGUMENT, "its address is null");
    MISSES(orvane_encrypt_file("missing", secret, key, 4, 1, NULL, NULL), "there is no file missing");
    FAILS(orvane_encrypt_file(model, ".", key, 4, 1, NULL, NULL), ORVANE_REFUSED, "is a folder");
    FAILS(orvane_encrypt_file(Write("short", "abc"), secret, key, 4, 0, NULL, NULL), ORVANE_REFUSED,
          "cannot be restored");
    FAILS(orvane_encrypt_file(Write("face.TFLite", "long enough to come back"), secret, key, 4, 0, NULL, NULL),
          ORVANE_REFUSED, "face.TFLite cannot be encrypted: only .onnx, and .xml with its .bin, can");
    EXPECT(fopen(secret, "rb") == NULL);
    SUCCEEDS(orvane_encrypt_file(model, secret, key, 4, 1, NULL, NULL));
    SUCCEEDS(orvane_decrypt_file(secret, "back.xml", key, 4, NULL, NULL));
    SUCCEEDS(TryOpen(Options("back.xml", host)));
    SUCCEEDS(orvane_encrypt_file(weights, weights, key, 4, 1, NULL, NULL));

    options.key = key;
    options.key_size = 3;
    FAILS(TryOpen(options), host != NULL ? ORVANE_REFUSED : ORVANE_RUNTIME, "if it is encrypted, the key");
    options.key_size = 4;
    SUCCEEDS(TryOpen(options));
}

static void SeeTensor(void* user, int32_t side, const orvane_tensor* tensor) {
    int* seen = (int*)user;
    EXPECT(side == *seen && tensor->struct_size == sizeof *tensor && tensor->element_type == ORVANE_FLOAT32);
    EXPECT(strcmp(tensor->name, "x") == 0 && tensor->rank == 2 && tensor->dimensions[0] == -1);
    ++*seen;
}

static void SeeDevice(void* user, const char* name, const char* fullName) {
    *(int*)user |= strcmp(name, "CPU") == 0 && *fullName != '\0';
}

void TestModelFiles(int isClient) {
    const int64_t good[] = {2, 3};
    const int64_t bad[] = {0, 3};
    const char* model = EchoModel("dynamic.xml", "f32", "?,3");
    const char* out = "fixed.xml";
    orvane_shape shapes[] = {{sizeof(orvane_shape), good, 2, 0}, {sizeof(orvane_shape), good, 2, 0}};
    int seen = 0;
    int hasCpu = 0;
    remove(out);
    EXPECT(sizeof(orvane_options) == 80 && sizeof(orvane_tensor) == 48 && sizeof(orvane_shape) == 24);
    FAILS(orvane_list_devices(NULL, NULL), ORVANE_BAD_ARGUMENT, "the function for the devices is null");
    FAILS(orvane_describe_file(model, NULL, NULL), ORVANE_BAD_ARGUMENT, "the function for the tensors is null");
    FAILS(orvane_describe_file(NULL, SeeTensor, &seen), ORVANE_BAD_ARGUMENT, "the model path is empty");
    FAILS(orvane_reshape_file(model, shapes, 2, NULL), ORVANE_BAD_ARGUMENT, "input 0 is set twice");
    FAILS(orvane_reshape_file(model, NULL, 1, NULL), ORVANE_BAD_ARGUMENT, "the address of a shape is null");
    FAILS(orvane_reshape_file(model, shapes, 1, "fixed.onnx"), ORVANE_BAD_ARGUMENT, "does not end in .xml");
    shapes[0].dimensions = bad;
    FAILS(orvane_reshape_file(model, shapes, 1, NULL), ORVANE_BAD_ARGUMENT, "has the dimension 0");
    shapes[0].dimensions = NULL;
    FAILS(orvane_reshape_file(model, shapes, 1, NULL), ORVANE_BAD_ARGUMENT, "has no dimensions");
    shapes[0].dimensions = good;
    if (isClient) {
        FAILS(orvane_list_devices(SeeDevice, &hasCpu), ORVANE_REFUSED, "use the library orvane_c");
        FAILS(orvane_describe_file(model, SeeTensor, &seen), ORVANE_REFUSED, "use the library orvane_c");
        FAILS(orvane_reshape_file(model, shapes, 1, out), ORVANE_REFUSED, "use the library orvane_c");
        return;
    }
    SUCCEEDS(orvane_list_devices(SeeDevice, &hasCpu));
    EXPECT(hasCpu);
    MISSES(orvane_describe_file("missing.xml", SeeTensor, &seen), "there is no model file missing.xml");
    SUCCEEDS(orvane_describe_file(model, SeeTensor, &seen));
    EXPECT(seen == 2);
    SUCCEEDS(orvane_reshape_file(model, shapes, 1, NULL));
    FAILS(orvane_reshape_file(model, NULL, 0, out), ORVANE_REFUSED, "no shape was given for them: input 0 \"x\"");
    shapes[0].input = 1;
    FAILS(orvane_reshape_file(model, shapes, 1, out), ORVANE_REFUSED, "there is no input 1: the model has 1");
    EXPECT(fopen(out, "rb") == NULL);
}
