// See System.cs.
#pragma warning disable 0169, 0649, 0659, 0660, 0661, 1591, 3001, 3002, 3003, 3021
using System.Collections;
using System.Collections.Generic;
using System.Collections.ObjectModel;

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
