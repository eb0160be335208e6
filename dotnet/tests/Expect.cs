using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.Linq;
using System.Threading;

/// <summary>Checks of the tests. A check that fails throws.</summary>
internal static class Expect
{
    private static readonly TimeSpan Patience = TimeSpan.FromSeconds(20);

    internal static void True(bool holds, string what)
    {
        if (!holds)
            throw new Exception("not true: " + what);
    }

    internal static void Equal<T>(T wanted, T got)
    {
        if (!EqualityComparer<T>.Default.Equals(wanted, got))
            throw new Exception($"expected {wanted}, got {got}");
    }

    internal static void Sequence<T>(IEnumerable<T> wanted, IEnumerable<T> got)
    {
        Equal(string.Join(" ", wanted), string.Join(" ", got));
    }

    /// <summary>Expects exactly this exception, with these words in its message.</summary>
    internal static TException Throws<TException>(Action action, params string[] words) where TException : Exception
    {
        try
        {
            action();
        }
        catch (Exception exception)
        {
            if (exception is AggregateException several)
                exception = several.InnerException;
            if (exception.GetType() != typeof(TException) && !(typeof(TException) == typeof(OperationCanceledException) &&
                                                                 exception is OperationCanceledException))
                throw new Exception($"expected {typeof(TException).Name}, got {exception}");
            foreach (string word in words)
                True(exception.Message.Contains(word), $"\"{exception.Message}\" contains \"{word}\"");
            return (TException)exception;
        }
        throw new Exception("expected " + typeof(TException).Name);
    }

    /// <summary>Waits until the condition is true, but not longer than <see cref="Patience"/>.</summary>
    internal static void Soon(Func<bool> holds, string what)
    {
        Stopwatch watch = Stopwatch.StartNew();
        while (!holds())
        {
            True(watch.Elapsed < Patience, what + " within " + Patience);
            Thread.Sleep(5);
        }
    }

    internal static void TakesAtMost(TimeSpan limit, Action action)
    {
        Stopwatch watch = Stopwatch.StartNew();
        action();
        True(watch.Elapsed < limit, $"takes {watch.Elapsed}, at most {limit}");
    }
}
