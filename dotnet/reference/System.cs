// The part of .NET Standard 2.0 (and, with NETSTANDARD2_1, 2.1) that Orvane.dll uses, without code. Compiled against it,
// Orvane.dll refers to `netstandard` and to nothing else, so that it runs on every .NET that has this interface. It is
// never shipped: each .NET contains this interface.
//
// A type or member is listed here if .NET Standard has it, with the same signature. forwards.py reads the lines that begin
// with `namespace` and with `    public`.
#pragma warning disable 0169, 0649, 0659, 0660, 0661, 1591, 3001, 3002, 3003, 3021
using System.Collections;
using System.Collections.Generic;
using System.Collections.ObjectModel;
using System.Reflection;
using System.Threading;

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
        public PlatformNotSupportedException(string message, Exception inner) : base(null) => throw null;
    }
    public class BadImageFormatException : SystemException { }
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
    public ref struct Span<T>
    {
        public int Length => throw null;
        public static implicit operator ReadOnlySpan<T>(Span<T> span) => throw null;
    }
    public ref struct ReadOnlySpan<T> { public int Length => throw null; }
#endif
}
