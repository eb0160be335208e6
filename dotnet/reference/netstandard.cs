// The part of .NET Standard 2.0 (and, with NETSTANDARD2_1, 2.1) that Orvane.dll uses, without code. Compiled against it,
// Orvane.dll refers to `netstandard` and to nothing else, so that it runs on every .NET that has this interface. It is
// never shipped: each .NET brings its own.
//
// A type or member is listed here if .NET Standard has it, with the same signature. forwards.py reads the lines that begin
// with `namespace` and with `    public`.
#pragma warning disable 0169, 0649, 0659, 0660, 0661, 1591, 3001, 3002, 3003, 3021
using System.Collections;
using System.Collections.Generic;
using System.Collections.ObjectModel;
using System.Reflection;
using System.Runtime.CompilerServices;
using System.Threading;
using System.Threading.Tasks;

#if NETSTANDARD2_1
[assembly: AssemblyVersion("2.1.0.0")]
#else
[assembly: AssemblyVersion("2.0.0.0")]
#endif

namespace System
{
    public class Object
    {
        public virtual bool Equals(object other) => throw null;
        public static bool Equals(object left, object right) => throw null;
        ~Object() { }
        public virtual int GetHashCode() => throw null;
        public Type GetType() => throw null;
        protected object MemberwiseClone() => throw null;
        public static bool ReferenceEquals(object left, object right) => throw null;
        public virtual string ToString() => throw null;
    }
    public abstract class ValueType { }
    public abstract class Enum : ValueType { }
    public struct Void { }
    public struct Boolean { }
    public struct Byte { }
    public struct SByte { }
    public struct Int16 { }
    public struct UInt16 { }
    public struct Int32 { }
    public struct UInt32 { public const uint MaxValue = 0xffffffff; }
    public struct Int64 { }
    public struct UInt64 { }
    public struct Single { }
    public struct Double { }
    public struct Decimal { }
    public struct Char { }
    public struct IntPtr
    {
        public static readonly IntPtr Zero;
        public static int Size => throw null;
        public static bool operator ==(IntPtr left, IntPtr right) => throw null;
        public static bool operator !=(IntPtr left, IntPtr right) => throw null;
        public static unsafe explicit operator IntPtr(void* value) => throw null;
    }
    public struct UIntPtr { }
    public struct RuntimeTypeHandle { }
    public struct RuntimeFieldHandle { }
    public struct RuntimeMethodHandle { }
    public struct Nullable<T> where T : struct
    {
        public Nullable(T value) => throw null;
        public bool HasValue => throw null;
        public T Value => throw null;
        public T GetValueOrDefault() => throw null;
    }
    public struct TimeSpan { public double TotalMilliseconds => throw null; }
    public sealed class String : IEnumerable<char>
    {
        public static readonly string Empty;
        public int Length => throw null;
        public char this[int index] => throw null;
        public static string Concat(object a, object b) => throw null;
        public static string Concat(string a, string b) => throw null;
        public static string Concat(string a, string b, string c) => throw null;
        public static string Concat(string a, string b, string c, string d) => throw null;
        public static string Concat(params string[] values) => throw null;
        public static string Format(string format, object a) => throw null;
        public static string Format(string format, object a, object b) => throw null;
        public static string Format(string format, object a, object b, object c) => throw null;
        public static string Format(string format, params object[] values) => throw null;
        public static string Join(string separator, params string[] values) => throw null;
        public static string Join<T>(string separator, IEnumerable<T> values) => throw null;
        public int IndexOf(char value) => throw null;
        public bool StartsWith(string value, StringComparison comparison) => throw null;
        public string Substring(int start) => throw null;
        IEnumerator<char> IEnumerable<char>.GetEnumerator() => throw null;
        IEnumerator IEnumerable.GetEnumerator() => throw null;
        public static bool operator ==(string left, string right) => throw null;
        public static bool operator !=(string left, string right) => throw null;
    }
    public enum StringComparison { Ordinal = 4 }
    public abstract class Array : ICollection, IList
    {
        public int Length => throw null;
        public static ReadOnlyCollection<T> AsReadOnly<T>(T[] array) => throw null;
        int ICollection.Count => throw null;
        IEnumerator IEnumerable.GetEnumerator() => throw null;
    }
    public abstract class Delegate
    {
        public static Delegate Combine(Delegate a, Delegate b) => throw null;
        public static Delegate Remove(Delegate source, Delegate value) => throw null;
        public static bool operator ==(Delegate left, Delegate right) => throw null;
        public static bool operator !=(Delegate left, Delegate right) => throw null;
    }
    public abstract class MulticastDelegate : Delegate
    {
        public static bool operator ==(MulticastDelegate left, MulticastDelegate right) => throw null;
        public static bool operator !=(MulticastDelegate left, MulticastDelegate right) => throw null;
    }
    public delegate void Action();
    public delegate void Action<in T>(T argument);
    public delegate TResult Func<out TResult>();
    public delegate TResult Func<in T, out TResult>(T argument);
    public delegate TResult Func<in T1, in T2, in T3, out TResult>(T1 first, T2 second, T3 third);
    public delegate void AsyncCallback(IAsyncResult result);
    public delegate void EventHandler(object sender, EventArgs arguments);
    public delegate void EventHandler<TEventArgs>(object sender, TEventArgs arguments);
    public class EventArgs { public EventArgs() => throw null; }
    public interface IAsyncResult { }
    public interface IDisposable { void Dispose(); }
    public interface IProgress<in T> { void Report(T value); }
    public abstract class Type : MemberInfo
    {
        public abstract string FullName { get; }
        public static Type GetTypeFromHandle(RuntimeTypeHandle handle) => throw null;
        public static bool operator ==(Type left, Type right) => throw null;
        public static bool operator !=(Type left, Type right) => throw null;
    }
    public class Exception
    {
        public Exception() => throw null;
        public Exception(string message) => throw null;
        public virtual string Message => throw null;
    }
    public class SystemException : Exception { }
    public class ArgumentException : SystemException
    {
        public ArgumentException(string message) => throw null;
        public ArgumentException(string message, string parameter) => throw null;
    }
    public class ArgumentNullException : ArgumentException
    {
        public ArgumentNullException(string parameter) : base(null) => throw null;
    }
    public class ArgumentOutOfRangeException : ArgumentException
    {
        public ArgumentOutOfRangeException(string parameter, object value, string message) : base(null) => throw null;
    }
    public class InvalidOperationException : SystemException
    {
        public InvalidOperationException(string message) => throw null;
    }
    public class ObjectDisposedException : InvalidOperationException
    {
        public ObjectDisposedException(string name) : base(null) => throw null;
    }
    public class OperationCanceledException : SystemException
    {
        public OperationCanceledException(string message, CancellationToken token) => throw null;
    }
    public class NotSupportedException : SystemException { public NotSupportedException(string message) => throw null; }
    public class PlatformNotSupportedException : NotSupportedException
    {
        public PlatformNotSupportedException(string message) : base(null) => throw null;
    }
    public class TypeLoadException : SystemException { }
    public class DllNotFoundException : TypeLoadException
    {
        public DllNotFoundException(string message) => throw null;
        public DllNotFoundException(string message, Exception inner) => throw null;
    }
    public sealed class AppDomain
    {
        public static AppDomain CurrentDomain => throw null;
        public event EventHandler DomainUnload { add => throw null; remove => throw null; }
        public event EventHandler ProcessExit { add => throw null; remove => throw null; }
    }
    public static class GC { public static void KeepAlive(object value) => throw null; }
    public static class Math { public static double Ceiling(double value) => throw null; }
    [AttributeUsage(AttributeTargets.All)]
    public abstract class Attribute { protected Attribute() => throw null; }
    public enum AttributeTargets { All = 0x7fff }
    public sealed class AttributeUsageAttribute : Attribute
    {
        public AttributeUsageAttribute(AttributeTargets targets) => throw null;
        public bool AllowMultiple { get => throw null; set => throw null; }
        public bool Inherited { get => throw null; set => throw null; }
    }
    public sealed class ParamArrayAttribute : Attribute { }
#if NETSTANDARD2_1
    public ref struct Span<T> { public int Length => throw null; }
    public ref struct ReadOnlySpan<T> { public int Length => throw null; }
#endif
}

namespace System.Collections
{
    public interface IEnumerable { IEnumerator GetEnumerator(); }
    public interface IEnumerator
    {
        object Current { get; }
        bool MoveNext();
        void Reset();
    }
    public interface ICollection : IEnumerable { int Count { get; } }
    public interface IList : ICollection { }
}

namespace System.Collections.Generic
{
    public interface IEnumerable<out T> : IEnumerable { new IEnumerator<T> GetEnumerator(); }
    public interface IEnumerator<out T> : IDisposable, IEnumerator { new T Current { get; } }
    public interface ICollection<T> : IEnumerable<T> { }
    public interface IList<T> : ICollection<T> { }
    public interface IReadOnlyCollection<out T> : IEnumerable<T> { int Count { get; } }
    public interface IReadOnlyList<out T> : IReadOnlyCollection<T> { T this[int index] { get; } }
    public interface IReadOnlyDictionary<TKey, TValue> : IReadOnlyCollection<KeyValuePair<TKey, TValue>> { }
    public struct KeyValuePair<TKey, TValue>
    {
        public TKey Key => throw null;
        public TValue Value => throw null;
    }
    public class List<T> : IList<T>, IReadOnlyList<T>
    {
        public List() => throw null;
        public int Count => throw null;
        public T this[int index] { get => throw null; set => throw null; }
        public void Add(T item) => throw null;
        public ReadOnlyCollection<T> AsReadOnly() => throw null;
        public T[] ToArray() => throw null;
        public Enumerator GetEnumerator() => throw null;
        IEnumerator<T> IEnumerable<T>.GetEnumerator() => throw null;
        IEnumerator IEnumerable.GetEnumerator() => throw null;
        public struct Enumerator : IEnumerator<T>
        {
            public T Current => throw null;
            object IEnumerator.Current => throw null;
            public bool MoveNext() => throw null;
            public void Dispose() => throw null;
            void IEnumerator.Reset() => throw null;
        }
    }
}

namespace System.Collections.ObjectModel
{
    public class ReadOnlyCollection<T> : IList<T>, IReadOnlyList<T>
    {
        public ReadOnlyCollection(IList<T> list) => throw null;
        public int Count => throw null;
        public T this[int index] => throw null;
        public IEnumerator<T> GetEnumerator() => throw null;
        IEnumerator IEnumerable.GetEnumerator() => throw null;
    }
}

namespace System.Collections.Concurrent
{
    public class ConcurrentQueue<T>
    {
        public ConcurrentQueue(IEnumerable<T> items) => throw null;
        public void Enqueue(T item) => throw null;
        public bool TryDequeue(out T item) => throw null;
    }
}

namespace System.IO
{
    public static class File
    {
        public static bool Exists(string path) => throw null;
        public static IEnumerable<string> ReadLines(string path) => throw null;
    }
    public static class Path
    {
        public static readonly char DirectorySeparatorChar;
        public static string Combine(string folder, string name) => throw null;
        public static string GetDirectoryName(string path) => throw null;
        public static string GetFileName(string path) => throw null;
    }
}

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
    public enum Architecture { X86, X64, Arm, Arm64 }
    public enum CallingConvention { Winapi = 1, Cdecl = 2 }
    public enum CharSet { None = 1, Ansi = 2, Unicode = 3, Auto = 4 }
    public enum LayoutKind { Sequential = 0, Explicit = 2, Auto = 3 }
    public enum GCHandleType { Normal = 2, Pinned = 3 }
    public static class RuntimeInformation { public static Architecture ProcessArchitecture => throw null; }
    public sealed class DllImportAttribute : Attribute
    {
        public CallingConvention CallingConvention;
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
    public sealed class UnmanagedFunctionPointerAttribute : Attribute
    {
        public UnmanagedFunctionPointerAttribute(CallingConvention convention) => throw null;
    }
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
        public static Span<byte> AsBytes<T>(Span<T> span) where T : struct => throw null;
        public static ReadOnlySpan<byte> AsBytes<T>(ReadOnlySpan<T> span) where T : struct => throw null;
        public static ref T GetReference<T>(Span<T> span) => throw null;
        public static ref T GetReference<T>(ReadOnlySpan<T> span) => throw null;
    }
#endif
}

namespace System.Runtime.Versioning
{
    public sealed class TargetFrameworkAttribute : Attribute { public TargetFrameworkAttribute(string name) => throw null; }
}

namespace System.Text
{
    public abstract class Encoding
    {
        public abstract int GetMaxByteCount(int characters);
        public virtual int GetBytes(string text, int start, int count, byte[] bytes, int at) => throw null;
        public virtual string GetString(byte[] bytes) => throw null;
    }
    public class UTF8Encoding : Encoding
    {
        public UTF8Encoding() => throw null;
        public UTF8Encoding(bool withMark, bool throwOnInvalid) => throw null;
        public override int GetMaxByteCount(int characters) => throw null;
    }
}

namespace System.Threading
{
    public struct CancellationToken
    {
        public static CancellationToken None => throw null;
        public bool IsCancellationRequested => throw null;
        public void ThrowIfCancellationRequested() => throw null;
    }
    public static class Interlocked
    {
        public static int CompareExchange(ref int location, int value, int comparand) => throw null;
        public static T CompareExchange<T>(ref T location, T value, T comparand) where T : class => throw null;
    }
    public static class Monitor
    {
        public static void Enter(object value, ref bool taken) => throw null;
        public static void Exit(object value) => throw null;
    }
    public static class Volatile
    {
        public static int Read(ref int location) => throw null;
        public static void Write(ref int location, int value) => throw null;
    }
    public class SemaphoreSlim
    {
        public SemaphoreSlim(int count) => throw null;
        public int Release() => throw null;
        public Task WaitAsync(CancellationToken token) => throw null;
    }
}

namespace System.Threading.Tasks
{
    public enum TaskStatus { RanToCompletion = 5 }
    public class Task
    {
        public TaskStatus Status => throw null;
        public ConfiguredTaskAwaitable ConfigureAwait(bool onContext) => throw null;
        public static Task Run(Action action, CancellationToken token) => throw null;
        public static Task<TResult> Run<TResult>(Func<TResult> function, CancellationToken token) => throw null;
        public static Task<TResult> Run<TResult>(Func<Task<TResult>> function, CancellationToken token) => throw null;
        public static Task<TResult[]> WhenAll<TResult>(params Task<TResult>[] tasks) => throw null;
    }
    public class Task<TResult> : Task
    {
        public TResult Result => throw null;
        public new ConfiguredTaskAwaitable<TResult> ConfigureAwait(bool onContext) => throw null;
        public TaskAwaiter<TResult> GetAwaiter() => throw null;
    }
}
