using System;
using System.Runtime.InteropServices;

namespace Orvane.Native
{
    /// <summary>The functions of orvane_c.h. They and the callbacks need no calling convention, because x64 has only one.
    /// Structures are <c>ref</c> and not <c>in</c>, because compilers disagree whether <c>in</c> of an extern method passes
    /// an address.</summary>
    internal static class NativeMethods
    {
        private const string Dll = "orvane_c";

        internal delegate int ProgressCallback(IntPtr user, int step);
        internal delegate int FileProgressCallback(IntPtr user, ulong done, ulong total);
        internal delegate void LogCallback(IntPtr user, uint level, IntPtr text);
        internal delegate void DeviceCallback(IntPtr user, IntPtr name, IntPtr fullName);
        internal delegate void TensorCallback(IntPtr user, int side, ref NativeTensor tensor);

        /// <summary>The type of <see cref="orvane_set_input"/> and <see cref="orvane_get_output"/>.</summary>
        internal delegate IntPtr CopyFunction(ModelHandle model, uint index, IntPtr data, ulong bytes);

        [DllImport(Dll)] internal static extern uint orvane_abi();

        // Functions for models. Those that can fail return an error for CallGuard.Check.
        [DllImport(Dll)] internal static extern IntPtr orvane_open(ref NativeOptions options, out ModelHandle model);
        [DllImport(Dll)] internal static extern void orvane_close(IntPtr model);
        [DllImport(Dll)] internal static extern IntPtr orvane_restart(ModelHandle model);
        [DllImport(Dll)] internal static extern uint orvane_tensor_count(ModelHandle model, int side);
        [DllImport(Dll)] internal static extern IntPtr orvane_describe(ModelHandle model, int side, uint index, ref NativeTensor tensor);
        [DllImport(Dll)] internal static extern IntPtr orvane_resize(ModelHandle model, uint input, long[] dimensions, uint rank);
        [DllImport(Dll)] internal static extern IntPtr orvane_set_input(ModelHandle model, uint index, IntPtr data, ulong bytes);
        [DllImport(Dll)] internal static extern IntPtr orvane_run(ModelHandle model);
        [DllImport(Dll)] internal static extern IntPtr orvane_get_output(ModelHandle model, uint index, IntPtr data, ulong bytes);
        [DllImport(Dll)] internal static extern void orvane_interrupt(ModelHandle model);

        // Functions for files and devices.
        [DllImport(Dll)] internal static extern IntPtr orvane_encrypt_file(
            byte[] source, byte[] target, byte[] key, uint keySize, uint pad, FileProgressCallback progress, IntPtr user);
        [DllImport(Dll)] internal static extern IntPtr orvane_decrypt_file(
            byte[] source, byte[] target, byte[] key, uint keySize, FileProgressCallback progress, IntPtr user);
        [DllImport(Dll)] internal static extern IntPtr orvane_list_devices(DeviceCallback device, IntPtr user);
        [DllImport(Dll)] internal static extern IntPtr orvane_describe_file(byte[] modelPath, TensorCallback tensor, IntPtr user);
        [DllImport(Dll)] internal static extern IntPtr orvane_reshape_file(
            byte[] modelPath, NativeShape[] shapes, uint shapeCount, byte[] target);

        // Errors, and the log.
        [DllImport(Dll)] internal static extern int orvane_error_reason(IntPtr error);
        [DllImport(Dll)] internal static extern int orvane_error_system(IntPtr error);
        [DllImport(Dll)] internal static extern int orvane_error_host_end(IntPtr error);
        [DllImport(Dll)] internal static extern IntPtr orvane_error_message(IntPtr error);
        [DllImport(Dll)] internal static extern void orvane_error_free(IntPtr error);
        [DllImport(Dll)] internal static extern IntPtr orvane_set_log(LogCallback line, IntPtr user);

        [DllImport("libc")] internal static extern int access(byte[] path, int mode);
        [DllImport("libc")] internal static extern int chmod(byte[] path, uint mode);
    }
}
