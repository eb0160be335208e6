using System;
using System.Collections.Generic;
using System.Threading;
using Orvane.Native;

namespace Orvane
{
    /// <summary>Functions for model files. All methods are thread-safe.</summary>
    public static class ModelFile
    {
        /// <summary>Encrypts a model file, for <see cref="ModelOptions.Key"/>.</summary>
        /// <param name="source">The plain file.</param>
        /// <param name="target">The encrypted file. It can be <paramref name="source"/>. It appears whole or not at all.
        /// </param>
        /// <param name="key">1 to 4 bytes.</param>
        /// <param name="pad">The cipher cannot restore a file whose last 4 MiB piece has 1 to 15 bytes, and refuses it. With
        /// true the piece is padded with blanks or zeros, which readers of models skip.</param>
        /// <param name="progress">Receives the finished share, from 0 to 1.</param>
        /// <param name="cancellationToken">If you cancel it, no target file is written.</param>
        /// <exception cref="OrvaneException">A file cannot be read or written, or the file is refused.</exception>
        /// <exception cref="ArgumentException">The key does not have 1 to 4 bytes.</exception>
        /// <exception cref="OperationCanceledException">The token was cancelled.</exception>
        public static void Encrypt(string source, string target, byte[] key, bool pad = false,
                                   IProgress<double> progress = null,
                                   CancellationToken cancellationToken = default(CancellationToken))
        {
            Convert(source, target, key, progress, cancellationToken, (from, to, callback) =>
                NativeMethods.orvane_encrypt_file(from, to, key, (uint)key.Length, pad ? 1u : 0u, callback, IntPtr.Zero));
        }

        /// <summary>Decrypts a model file.</summary>
        /// <param name="source">The encrypted file.</param>
        /// <param name="target">The plain file. It can be <paramref name="source"/>. It appears whole or not at all.</param>
        /// <param name="key">The key of the encryption, 1 to 4 bytes.</param>
        /// <param name="progress">Receives the finished share, from 0 to 1.</param>
        /// <param name="cancellationToken">If you cancel it, no target file is written.</param>
        /// <exception cref="OrvaneException">A file cannot be read or written.</exception>
        /// <exception cref="ArgumentException">The key does not have 1 to 4 bytes.</exception>
        /// <exception cref="OperationCanceledException">The token was cancelled.</exception>
        public static void Decrypt(string source, string target, byte[] key, IProgress<double> progress = null,
                                   CancellationToken cancellationToken = default(CancellationToken))
        {
            Convert(source, target, key, progress, cancellationToken, (from, to, callback) =>
                NativeMethods.orvane_decrypt_file(from, to, key, (uint)key.Length, callback, IntPtr.Zero));
        }

        /// <summary>Reads the inputs and outputs of a model file without compiling it. Their <see cref="Tensor.ByteSize"/> and
        /// <see cref="Tensor.Problem"/> are those of a model in this process.</summary>
        /// <param name="path">The model file, not encrypted.</param>
        /// <exception cref="OrvaneException">The file cannot be read.</exception>
        public static ModelDescription Describe(string path)
        {
            Library.Require();
            var sides = new[] { new List<Tensor>(), new List<Tensor>() };
            var guard = new CallGuard();
            NativeMethods.TensorCallback add = (IntPtr user, int side, ref NativeTensor native) =>
            {
                try
                {
                    sides[side].Add(new Tensor(ref native));
                }
                catch (Exception exception)
                {
                    guard.Keep(exception);
                }
            };
            guard.Check(NativeMethods.orvane_describe_file(Utf8.Encode(path, nameof(path)), add, IntPtr.Zero));
            GC.KeepAlive(add);
            return new ModelDescription(sides[0].AsReadOnly(), sides[1].AsReadOnly());
        }

        /// <summary>Writes a model with fixed input shapes, which runs in a host process too. This works on Linux; on Windows
        /// with a library built by Visual Studio.</summary>
        /// <param name="source">The model file.</param>
        /// <param name="target">The new file. Its name ends in .xml. A .bin with the weights appears beside it.</param>
        /// <param name="shapes">Shapes by the names of inputs, each dimension at least 1. Every input with dynamic dimensions
        /// needs a shape.</param>
        /// <exception cref="OrvaneException">A file cannot be read or written, or the model does not take a shape.
        /// </exception>
        /// <exception cref="ArgumentException">There is no such input, or a shape is wrong.</exception>
        public static void Reshape(string source, string target, IReadOnlyDictionary<string, long[]> shapes)
        {
            if (target == null)
                throw new ArgumentNullException(nameof(target));
            if (shapes == null)
                throw new ArgumentNullException(nameof(shapes));
            IReadOnlyList<Tensor> inputs = Describe(source).Inputs;
            using (var pins = new Pins())
            {
                var native = new List<NativeShape>();
                foreach (KeyValuePair<string, long[]> shape in shapes)
                    native.Add(new NativeShape
                    {
                        StructSize = NativeShape.Size,
                        Dimensions = pins.Add(shape.Value),
                        Rank = (uint)(shape.Value?.Length ?? 0),
                        Input = (uint)Model.IndexOf(inputs, "input", shape.Key)
                    });
                new CallGuard().Check(NativeMethods.orvane_reshape_file(
                    Utf8.Encode(source, nameof(source)), native.ToArray(), (uint)native.Count,
                    Utf8.Encode(target, nameof(target))));
            }
        }

        private static void Convert(string source, string target, byte[] key, IProgress<double> progress,
                                    CancellationToken cancellationToken,
                                    Func<byte[], byte[], NativeMethods.FileProgressCallback, IntPtr> convert)
        {
            if (key == null)
                throw new ArgumentNullException(nameof(key));
            cancellationToken.ThrowIfCancellationRequested();
            Library.Require();
            var guard = new CallGuard { Token = cancellationToken };
            NativeMethods.FileProgressCallback callback = (user, done, total) => guard.Run(() =>
            {
                progress?.Report(total == 0 ? 1 : (double)done / total);
                return true;
            });
            guard.Check(convert(Utf8.Encode(source, nameof(source)), Utf8.Encode(target, nameof(target)), callback));
            GC.KeepAlive(callback);
        }
    }
}
