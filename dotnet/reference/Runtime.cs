// See System.cs.
#pragma warning disable 0169, 0649, 0659, 0660, 0661, 1591, 3001, 3002, 3003, 3021
using System.Threading.Tasks;

namespace System.Reflection
{
    public abstract class MemberInfo { public abstract string Name { get; } }
    public sealed class DefaultMemberAttribute : Attribute { public DefaultMemberAttribute(string name) => throw null; }
    public sealed class AssemblyTitleAttribute : Attribute { public AssemblyTitleAttribute(string text) => throw null; }
    public sealed class AssemblyProductAttribute : Attribute { public AssemblyProductAttribute(string text) => throw null; }
    public sealed class AssemblyVersionAttribute : Attribute { public AssemblyVersionAttribute(string text) => throw null; }
    public sealed class AssemblyInformationalVersionAttribute : Attribute
    {
        public AssemblyInformationalVersionAttribute(string text) => throw null;
    }
}

namespace System.Runtime.CompilerServices
{
    public sealed class ExtensionAttribute : Attribute { }
    public sealed class CompilerGeneratedAttribute : Attribute { }
    public sealed class RuntimeCompatibilityAttribute : Attribute
    {
        public RuntimeCompatibilityAttribute() => throw null;
        public bool WrapNonExceptionThrows { get => throw null; set => throw null; }
    }
    public sealed class FixedBufferAttribute : Attribute { public FixedBufferAttribute(Type type, int size) => throw null; }
    public sealed class UnsafeValueTypeAttribute : Attribute { }
    public static class IsVolatile { }
    public static class RuntimeHelpers
    {
        public static int OffsetToStringData => throw null;
        public static void InitializeArray(Array array, RuntimeFieldHandle field) => throw null;
    }
#if NETSTANDARD2_1
    public sealed class IsByRefLikeAttribute : Attribute { }
#endif

    // async and await
    public interface INotifyCompletion { void OnCompleted(Action continuation); }
    public interface ICriticalNotifyCompletion : INotifyCompletion { void UnsafeOnCompleted(Action continuation); }
    public interface IAsyncStateMachine
    {
        void MoveNext();
        void SetStateMachine(IAsyncStateMachine machine);
    }
    public class StateMachineAttribute : Attribute { public StateMachineAttribute(Type type) => throw null; }
    public sealed class AsyncStateMachineAttribute : StateMachineAttribute
    {
        public AsyncStateMachineAttribute(Type type) : base(null) => throw null;
    }
    public struct AsyncVoidMethodBuilder { }
    public struct AsyncTaskMethodBuilder
    {
        public Task Task => throw null;
        public static AsyncTaskMethodBuilder Create() => throw null;
        public void Start<TMachine>(ref TMachine machine) where TMachine : IAsyncStateMachine => throw null;
        public void SetStateMachine(IAsyncStateMachine machine) => throw null;
        public void SetResult() => throw null;
        public void SetException(Exception exception) => throw null;
        public void AwaitOnCompleted<TAwaiter, TMachine>(ref TAwaiter awaiter, ref TMachine machine)
            where TAwaiter : INotifyCompletion where TMachine : IAsyncStateMachine => throw null;
        public void AwaitUnsafeOnCompleted<TAwaiter, TMachine>(ref TAwaiter awaiter, ref TMachine machine)
            where TAwaiter : ICriticalNotifyCompletion where TMachine : IAsyncStateMachine => throw null;
    }
    public struct AsyncTaskMethodBuilder<TResult>
    {
        public Task<TResult> Task => throw null;
        public static AsyncTaskMethodBuilder<TResult> Create() => throw null;
        public void Start<TMachine>(ref TMachine machine) where TMachine : IAsyncStateMachine => throw null;
        public void SetStateMachine(IAsyncStateMachine machine) => throw null;
        public void SetResult(TResult result) => throw null;
        public void SetException(Exception exception) => throw null;
        public void AwaitOnCompleted<TAwaiter, TMachine>(ref TAwaiter awaiter, ref TMachine machine)
            where TAwaiter : INotifyCompletion where TMachine : IAsyncStateMachine => throw null;
        public void AwaitUnsafeOnCompleted<TAwaiter, TMachine>(ref TAwaiter awaiter, ref TMachine machine)
            where TAwaiter : ICriticalNotifyCompletion where TMachine : IAsyncStateMachine => throw null;
    }
    public struct TaskAwaiter<TResult> : ICriticalNotifyCompletion
    {
        public bool IsCompleted => throw null;
        public TResult GetResult() => throw null;
        public void OnCompleted(Action continuation) => throw null;
        public void UnsafeOnCompleted(Action continuation) => throw null;
    }
    public struct ConfiguredTaskAwaitable
    {
        public ConfiguredTaskAwaiter GetAwaiter() => throw null;
        public struct ConfiguredTaskAwaiter : ICriticalNotifyCompletion
        {
            public bool IsCompleted => throw null;
            public void GetResult() => throw null;
            public void OnCompleted(Action continuation) => throw null;
            public void UnsafeOnCompleted(Action continuation) => throw null;
        }
    }
    public struct ConfiguredTaskAwaitable<TResult>
    {
        public ConfiguredTaskAwaiter GetAwaiter() => throw null;
        public struct ConfiguredTaskAwaiter : ICriticalNotifyCompletion
        {
            public bool IsCompleted => throw null;
            public TResult GetResult() => throw null;
            public void OnCompleted(Action continuation) => throw null;
            public void UnsafeOnCompleted(Action continuation) => throw null;
        }
    }
}

namespace System.Runtime.ExceptionServices
{
    public sealed class ExceptionDispatchInfo
    {
        public static ExceptionDispatchInfo Capture(Exception exception) => throw null;
        public void Throw() => throw null;
    }
}

namespace System.Runtime.InteropServices
{
    public enum CharSet { None = 1, Ansi = 2, Unicode = 3, Auto = 4 }
    public enum LayoutKind { Sequential = 0, Explicit = 2, Auto = 3 }
    public enum GCHandleType { Normal = 2, Pinned = 3 }
    public sealed class DllImportAttribute : Attribute
    {
        public CharSet CharSet;
        public string EntryPoint;
        public bool BestFitMapping, ExactSpelling, PreserveSig, SetLastError, ThrowOnUnmappableChar;
        public DllImportAttribute(string library) => throw null;
    }
    public sealed class StructLayoutAttribute : Attribute
    {
        public CharSet CharSet;
        public int Pack, Size;
        public StructLayoutAttribute(LayoutKind kind) => throw null;
    }
    public sealed class FieldOffsetAttribute : Attribute { public FieldOffsetAttribute(int offset) => throw null; }
    public sealed class InAttribute : Attribute { }
    public sealed class OutAttribute : Attribute { }
    public struct GCHandle
    {
        public static GCHandle Alloc(object value, GCHandleType type) => throw null;
        public IntPtr AddrOfPinnedObject() => throw null;
        public void Free() => throw null;
    }
    public abstract class SafeHandle : IDisposable
    {
        protected IntPtr handle;
        protected SafeHandle(IntPtr invalid, bool owns) => throw null;
        public bool IsClosed => throw null;
        public abstract bool IsInvalid { get; }
        protected abstract bool ReleaseHandle();
        public void Dispose() => throw null;
    }
    public static class Marshal
    {
        public static void Copy(IntPtr source, byte[] target, int start, int length) => throw null;
        public static void Copy(IntPtr source, long[] target, int start, int length) => throw null;
        public static IntPtr GetFunctionPointerForDelegate<TDelegate>(TDelegate function) => throw null;
        public static byte ReadByte(IntPtr address, int offset) => throw null;
    }
#if NETSTANDARD2_1
    public static class MemoryMarshal
    {
        public static ReadOnlySpan<byte> AsBytes<T>(ReadOnlySpan<T> span) where T : struct => throw null;
        public static ref T GetReference<T>(ReadOnlySpan<T> span) => throw null;
    }
#endif
}

namespace System.Runtime.Versioning
{
    public sealed class TargetFrameworkAttribute : Attribute { public TargetFrameworkAttribute(string name) => throw null; }
}
