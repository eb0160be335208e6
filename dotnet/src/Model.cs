using System;
using System.Collections.Generic;
using System.Runtime.InteropServices;
using System.Threading;
using System.Threading.Tasks;
using Orvane.Native;

namespace Orvane
{
    /// <summary>
    /// A loaded model, in this process or in a separate host process.
    /// </summary>
    /// <remarks>
    /// <para>Set the inputs, run, and get the outputs. Data is copied before a call returns. Inputs keep their data from run
    /// to run; an input that you never set is all zeros.</para>
    /// <para>One call at a time: a second call from another thread throws an <see cref="InvalidOperationException"/>. Only
    /// <see cref="Interrupt"/> and <see cref="Dispose"/> may be called at any time, from any thread. Different models are
    /// independent.</para>
    /// <para>Every call can throw an <see cref="OrvaneException"/>. For a model with <see cref="ModelOptions.Host"/> it is a
    /// <see cref="HostEndedException"/> once the host process has ended; call <see cref="Restart"/> then.</para>
    /// </remarks>
    public sealed partial class Model : IDisposable
    {
        private const int InputSide = 0;
        private const int OutputSide = 1;

        // Made once: C# would make a new delegate at each use of a method as one.
        private static readonly NativeMethods.CopyFunction CopyIn = NativeMethods.orvane_set_input;
        private static readonly NativeMethods.CopyFunction CopyOut = NativeMethods.orvane_get_output;

        private readonly CallGuard guard = new CallGuard();
        private readonly ModelHandle handle;
        private int isInUse;

        /// <summary>Loads a model. That takes from milliseconds to minutes: see <see cref="LoadAsync"/>.</summary>
        /// <param name="path">The model file: .onnx, .tflite, .pb, .pdmodel, or OpenVINO's .xml. It can be null if
        /// <see cref="ModelOptions.CachePath"/> exists.</param>
        /// <param name="options">How to run it; null for the CPU, in this process.</param>
        /// <exception cref="OrvaneException">The model cannot be loaded. The message says why.</exception>
        /// <exception cref="ArgumentException">An option is wrong.</exception>
        /// <exception cref="OperationCanceledException"><see cref="ModelOptions.Progress"/> cancelled the load.</exception>
        /// <exception cref="DllNotFoundException">The native library, or a library that it needs, is missing.</exception>
        /// <exception cref="PlatformNotSupportedException">This is not an x64 process.</exception>
        public Model(string path, ModelOptions options = null) : this(path, options, CancellationToken.None)
        {
        }

        private Model(string path, ModelOptions options, CancellationToken cancellationToken)
        {
            Library.Require();
            options = options ?? new ModelOptions();
            Func<LoadStep, bool> report = options.Progress;
            NativeMethods.ProgressCallback progress =
                (user, step) => guard.Run(() => step == 0 || report == null || report((LoadStep)step));
            using (var pins = new Pins())
            {
                var native = new NativeOptions
                {
                    StructSize = NativeOptions.Size,
                    ModelPath = pins.Add(Utf8.Encode(path, nameof(path))),
                    Device = pins.Add(Utf8.Encode(options.Device, nameof(options))),
                    CachePath = pins.Add(Utf8.Encode(options.CachePath, nameof(options))),
                    HostProgram = pins.Add(Utf8.Encode(options.HostProgram ?? (options.Host ? "" : null), nameof(options))),
                    Key = pins.Add(options.Key),
                    KeySize = (uint)(options.Key?.Length ?? 0),
                    MakeCache = options.MakeCache ? 1u : 0u,
                    TimeLimitMs = Milliseconds(options.TimeLimit, nameof(ModelOptions.TimeLimit)),
                    LoadTimeLimitMs = Milliseconds(options.LoadTimeLimit, nameof(ModelOptions.LoadTimeLimit)),
                    Progress = Marshal.GetFunctionPointerForDelegate(progress)
                };
                guard.Token = cancellationToken;
                guard.Check(NativeMethods.orvane_open(ref native, out handle));
            }
            handle.Progress = progress;
            DescribeTensors();
        }

        /// <summary>The inputs, in the model's order.</summary>
        public IReadOnlyList<Tensor> Inputs { get; private set; }

        /// <summary>The outputs, in the model's order.</summary>
        public IReadOnlyList<Tensor> Outputs { get; private set; }

        /// <summary>Set while a pool runs work with this model: cancels each call of it.</summary>
        internal CancellationToken OuterToken
        {
            set { guard.OuterToken = value; }
        }

        /// <summary>Whether the host process has ended and <see cref="Restart"/> has not been called since.</summary>
        internal bool NeedsRestart { get; private set; }

        /// <summary>Loads a model on another thread, as <see cref="Model(string, ModelOptions)"/>. Copies the options first.
        /// Cancelling ends the host process; in this process a load stops at its next step.</summary>
        public static Task<Model> LoadAsync(string path, ModelOptions options = null,
                                            CancellationToken cancellationToken = default(CancellationToken))
        {
            ModelOptions own = options?.Copy();
            return Task.Run(() => new Model(path, own, cancellationToken), cancellationToken);
        }

        /// <summary>Copies an array into an input.</summary>
        /// <param name="index">The index in <see cref="Inputs"/>.</param>
        /// <param name="data">All elements, in row-major order.</param>
        /// <exception cref="ArgumentException">There is no such input, or its elements have another type or number.
        /// </exception>
        public void SetInput<T>(int index, T[] data) where T : struct
        {
            Copy(CopyIn, index, InputAt(index), data, nameof(data));
        }

        /// <summary>Copies an array into the input with a name.</summary>
        /// <inheritdoc cref="SetInput{T}(int, T[])"/>
        public void SetInput<T>(string name, T[] data) where T : struct
        {
            SetInput(IndexOf(Inputs, "input", name), data);
        }

        /// <summary>Copies an output of the last run into a new array.</summary>
        /// <param name="index">The index in <see cref="Outputs"/>.</param>
        /// <exception cref="ArgumentException">There is no such output, or its elements have another type.</exception>
        /// <exception cref="OrvaneException">The model has not run, or the output cannot be copied.</exception>
        public T[] GetOutput<T>(int index) where T : struct
        {
            Tensor tensor = OutputAt(index);
            int size = Elements.SizeOf<T>(tensor, nameof(T));
            if (tensor.Problem != null)
                throw new OrvaneException(tensor.Problem, Reason.Refused, 0);
            var data = new T[tensor.ByteSize / size];
            GetOutput(index, data);
            return data;
        }

        /// <summary>Copies the output with a name into a new array.</summary>
        /// <inheritdoc cref="GetOutput{T}(int)"/>
        public T[] GetOutput<T>(string name) where T : struct
        {
            return GetOutput<T>(IndexOf(Outputs, "output", name));
        }

        /// <summary>Copies an output of the last run into your array. If the output has dynamic dimensions, the run
        /// determines its size, and the array must have exactly this size.</summary>
        /// <param name="index">The index in <see cref="Outputs"/>.</param>
        /// <param name="destination">Receives all elements, in row-major order.</param>
        /// <exception cref="ArgumentException">There is no such output, or its elements have another type or number.
        /// </exception>
        /// <exception cref="OrvaneException">The model has not run, or the output cannot be copied.</exception>
        public void GetOutput<T>(int index, T[] destination) where T : struct
        {
            Copy(CopyOut, index, OutputAt(index), destination, nameof(destination));
        }

        /// <summary>Copies the output with a name into your array.</summary>
        /// <inheritdoc cref="GetOutput{T}(int, T[])"/>
        public void GetOutput<T>(string name, T[] destination) where T : struct
        {
            GetOutput(IndexOf(Outputs, "output", name), destination);
        }

        /// <summary>Sets the shape of an input with dynamic dimensions, in this process only and before the first
        /// <see cref="SetInput{T}(int, T[])"/>. For a host process, write a model with fixed shapes:
        /// <see cref="ModelFile.Reshape"/>.</summary>
        /// <param name="index">The index in <see cref="Inputs"/>.</param>
        /// <param name="shape">As many dimensions as the input has, each at least 1.</param>
        /// <exception cref="ArgumentException">The input does not take this shape.</exception>
        public void Resize(int index, params long[] shape)
        {
            if (shape == null)
                throw new ArgumentNullException(nameof(shape));
            InputAt(index);
            using (Enter(CancellationToken.None))
            {
                Check(NativeMethods.orvane_resize(handle, (uint)index, shape, (uint)shape.Length));
                DescribeTensors();
            }
        }

        /// <summary>Runs the model on the latest data, and waits for its end.</summary>
        /// <param name="cancellationToken">Cancelling ends the host process within about 0.2 s; the next call then throws
        /// a <see cref="HostEndedException"/>. A run in this process cannot be ended, but it does not start if the token
        /// is already cancelled.</param>
        /// <exception cref="OperationCanceledException">The token was cancelled.</exception>
        public void Run(CancellationToken cancellationToken = default(CancellationToken))
        {
            using (Enter(cancellationToken))
                Check(NativeMethods.orvane_run(handle));
        }

        /// <summary>Runs the model on another thread, as <see cref="Run"/>.</summary>
        /// <inheritdoc cref="Run"/>
        public async Task RunAsync(CancellationToken cancellationToken = default(CancellationToken))
        {
            using (Enter(cancellationToken))
                await Task.Run(() => Check(NativeMethods.orvane_run(handle)), cancellationToken).ConfigureAwait(false);
        }

        /// <summary>Loads the model again with the same options, in a new host process if it had a host process. Set the
        /// inputs and shapes again afterwards.</summary>
        /// <param name="cancellationToken">Cancelling ends the host process; in this process a load stops at its next
        /// step.</param>
        /// <exception cref="OrvaneException">The model cannot be loaded. With a host process the model stays ended,
        /// otherwise it is as before.</exception>
        /// <exception cref="OperationCanceledException">The token was cancelled, or <see cref="ModelOptions.Progress"/>
        /// cancelled the load.</exception>
        public void Restart(CancellationToken cancellationToken = default(CancellationToken))
        {
            using (Enter(cancellationToken))
                RestartNow();
        }

        /// <summary>Loads the model again on another thread, as <see cref="Restart"/>.</summary>
        /// <inheritdoc cref="Restart"/>
        public async Task RestartAsync(CancellationToken cancellationToken = default(CancellationToken))
        {
            using (Enter(cancellationToken))
                await Task.Run(() => RestartNow(), cancellationToken).ConfigureAwait(false);
        }

        /// <summary>Ends the host process, from any thread. A call that waits for it throws a
        /// <see cref="HostEndedException"/> within about 0.2 s, and so does every later call until <see cref="Restart"/>.
        /// Does nothing for a model in this process.</summary>
        public void Interrupt()
        {
            if (handle.IsClosed)
                throw new ObjectDisposedException(nameof(Model));
            NativeMethods.orvane_interrupt(handle);
        }

        /// <summary>Ends the host process and frees the model. May be called more than once and from any thread: a run in the
        /// host process then throws a <see cref="HostEndedException"/>, and a run in this process finishes first.</summary>
        public void Dispose()
        {
            try
            {
                NativeMethods.orvane_interrupt(handle);  // also ends a call that another thread is about to begin
            }
            catch (ObjectDisposedException)
            {
                // This is not the first call.
            }
            handle.Dispose();
        }

        private static uint Milliseconds(TimeSpan? limit, string option)
        {
            if (limit == null)
                return 0;
            double milliseconds = Math.Ceiling(limit.Value.TotalMilliseconds);
            if (milliseconds < 1 || milliseconds > uint.MaxValue)
                throw new ArgumentOutOfRangeException(
                    option, limit, "A time limit is more than 0 and less than 49 days. For no limit use null.");
            return (uint)milliseconds;
        }

        internal static int IndexOf(IReadOnlyList<Tensor> tensors, string side, string name)
        {
            if (name == null)
                throw new ArgumentNullException(nameof(name));
            var names = new string[tensors.Count];
            for (int i = 0; i < names.Length; ++i)
            {
                names[i] = tensors[i].Name;
                if (names[i] == name)
                    return i;
            }
            throw new ArgumentException(
                $"The model has no {side} \"{name}\". It has: {string.Join(", ", names)}.", nameof(name));
        }

        private static Tensor At(IReadOnlyList<Tensor> tensors, string side, int index)
        {
            if (index < 0 || index >= tensors.Count)
                throw new ArgumentOutOfRangeException(
                    nameof(index), index, $"The model has no {side} {index}. It has {tensors.Count} {side}s.");
            return tensors[index];
        }

        private void Copy<T>(NativeMethods.CopyFunction copy, int index, Tensor tensor, T[] array, string parameter)
            where T : struct
        {
            if (array == null)
                throw new ArgumentNullException(parameter);
            ulong bytes = (ulong)array.Length * (ulong)Elements.SizeOf<T>(tensor, parameter);
            using (Enter(CancellationToken.None))
            {
                GCHandle pin = GCHandle.Alloc(array, GCHandleType.Pinned);
                try
                {
                    Check(copy(handle, (uint)index, pin.AddrOfPinnedObject(), bytes));
                }
                finally
                {
                    pin.Free();
                }
            }
        }

        private Tensor InputAt(int index)
        {
            return At(Inputs, "input", index);
        }

        private Tensor OutputAt(int index)
        {
            return At(Outputs, "output", index);
        }

        private void RestartNow()
        {
            Check(NativeMethods.orvane_restart(handle));
            NeedsRestart = false;
            DescribeTensors();
        }

        private void DescribeTensors()
        {
            Inputs = Describe(InputSide);
            Outputs = Describe(OutputSide);
        }

        private IReadOnlyList<Tensor> Describe(int side)
        {
            var tensors = new Tensor[NativeMethods.orvane_tensor_count(handle, side)];
            for (int i = 0; i < tensors.Length; ++i)
            {
                var native = new NativeTensor { StructSize = NativeTensor.Size };
                guard.Check(NativeMethods.orvane_describe(handle, side, (uint)i, ref native));
                tensors[i] = new Tensor(ref native);
            }
            return Array.AsReadOnly(tensors);
        }

        private void Check(IntPtr error)
        {
            try
            {
                guard.Check(error);
            }
            catch (Exception exception) when (exception is HostEndedException || exception is OperationCanceledException)
            {
                NeedsRestart = true;
                throw;
            }
        }

        private Turn Enter(CancellationToken cancellationToken)
        {
            if (handle.IsClosed)
                throw new ObjectDisposedException(nameof(Model));
            cancellationToken.ThrowIfCancellationRequested();
            if (Interlocked.CompareExchange(ref isInUse, 1, 0) != 0)
                throw new InvalidOperationException(
                    "Another call for this model has not ended yet. Wait for it (await RunAsync), or load the model a " +
                    "second time to run both at once.");
            guard.Token = cancellationToken;
            return new Turn(this);
        }

        /// <summary>One call: no other call may begin until its end.</summary>
        private struct Turn : IDisposable
        {
            private readonly Model model;

            internal Turn(Model model)
            {
                this.model = model;
            }

            public void Dispose()
            {
                Volatile.Write(ref model.isInUse, 0);
            }
        }
    }
}
