// See System.cs.
#pragma warning disable 0169, 0649, 0659, 0660, 0661, 1591, 3001, 3002, 3003, 3021
using System.Runtime.CompilerServices;
using System.Threading.Tasks;

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
