using System;
using System.Linq;
using System.Runtime.CompilerServices;
using System.Threading;
using System.Threading.Tasks;
using Orvane;

/// <summary>Host processes that end, cancelled calls, and threads.</summary>
internal static class HostTest
{
    private static readonly float[] Silence = new float[576];
    private static readonly TimeSpan Quick = TimeSpan.FromSeconds(5);

    public static void RunThrowsUntilARestartAfterTheHostProcessWasKilled()
    {
        using (Model model = Material.InHost(Material.Voice))
        {
            model.SetInput(0, Silence);
            model.Run();
            float before = model.GetOutput<float>(0)[0];
            Material.KillHosts();
            for (int i = 0; i < 2; ++i)
            {
                HostEndedException ended = Expect.Throws<HostEndedException>(() => model.Run());
                Expect.Equal(Reason.HostEnded, ended.Reason);
                Expect.Equal(Material.IsWindows ? HostEnd.Exit : HostEnd.Signal, ended.Cause);
            }
            model.Restart();
            model.SetInput(0, Silence);
            model.Run();
            Expect.Equal(before, model.GetOutput<float>(0)[0]);
        }
    }

    public static void CancellingEndsARun()
    {
        using (Model model = Material.InHost(Material.Slow))
        {
            model.SetInput(0, new float[Material.SlowSize]);
            using (var source = new CancellationTokenSource(300))
                Expect.TakesAtMost(Quick, () =>
                {
                    Task run = model.RunAsync(source.Token);
                    Expect.Throws<OperationCanceledException>(() => run.Wait());
                    Expect.True(run.IsCanceled, "the task is cancelled");
                });
            Expect.Equal(HostEnd.Interrupted, Expect.Throws<HostEndedException>(() => model.Run()).Cause);
            Expect.Throws<OperationCanceledException>(() => model.Run(new CancellationToken(true)));
            model.RestartAsync().Wait();
            model.SetInput(0, new float[Material.SlowSize]);
        }
    }

    public static void CancellingEndsALoad()
    {
        var options = new ModelOptions { Host = true };
        using (var source = new CancellationTokenSource())
        {
            options.Progress = step =>
            {
                if (step == LoadStep.InHost)
                    source.Cancel();
                return true;
            };
            Task<Model> load = Model.LoadAsync(Material.Slow, options, source.Token);
            Expect.TakesAtMost(Quick, () => Expect.Throws<OperationCanceledException>(() => load.Wait()));
        }
    }

    public static void TimeLimitEndsARun()
    {
        using (Model model = Material.InHost(Material.Slow, TimeSpan.FromMilliseconds(300), TimeSpan.FromSeconds(60)))
        {
            model.SetInput(0, new float[Material.SlowSize]);
            Expect.TakesAtMost(Quick, () => Expect.Equal(
                HostEnd.TimeLimit, Expect.Throws<HostEndedException>(() => model.Run()).Cause));
        }
        Expect.Equal(HostEnd.TimeLimit, Expect.Throws<HostEndedException>(
            () => Material.InHost(Material.Slow, null, TimeSpan.FromMilliseconds(1))).Cause);
    }

    public static void SecondCallThrowsDuringARun()
    {
        using (Model model = Material.InHost(Material.Slow))
        {
            model.SetInput(0, new float[Material.SlowSize]);
            Task run = model.RunAsync();
            Expect.Throws<InvalidOperationException>(() => model.Run(), "has not ended");
            Expect.Throws<InvalidOperationException>(() => model.SetInput(0, new float[Material.SlowSize]), "has not ended");
            model.Interrupt();
            Expect.TakesAtMost(Quick, () => Expect.Equal(
                HostEnd.Interrupted, Expect.Throws<HostEndedException>(() => run.Wait()).Cause));
        }
    }

    public static void DisposeEndsARun()
    {
        Model model = Material.InHost(Material.Slow);
        model.SetInput(0, new float[Material.SlowSize]);
        Task run = model.RunAsync();
        Thread.Sleep(250);  // until the run has begun
        model.Dispose();
        model.Dispose();
        Expect.TakesAtMost(Quick, () => ExpectEnd(run));
        Expect.Throws<ObjectDisposedException>(() => model.Run());
        Expect.Throws<ObjectDisposedException>(() => model.SetInput(0, new float[Material.SlowSize]));
        Expect.Throws<ObjectDisposedException>(() => model.Interrupt());
        Expect.Throws<ObjectDisposedException>(() => model.Restart());
    }

    public static void CollectorEndsTheHostProcessOfAnUnusedModel()
    {
        Forget();
        Expect.Soon(() =>
        {
            GC.Collect();
            GC.WaitForPendingFinalizers();
            return !Material.Hosts().Any();
        }, "the host process of the unused model ends");
    }

    public static void PoolRetriesInANewHostProcess()
    {
        using (var pool = new ModelPool(Material.Voice, 2) { Retries = 20 })
        {
            Expect.Equal(2, Material.Hosts().Count());
            float wanted = pool.RunAsync(Probability).Result;
            int tries = 0;
            Func<Model, float> workAmongKills = model =>
            {
                if (Interlocked.Increment(ref tries) % 10 == 0)
                    Material.KillHosts();
                return Probability(model);
            };
            float[] results = Task.WhenAll(Enumerable.Range(0, 60).Select(i => pool.RunAsync(workAmongKills))).Result;
            Expect.True(results.All(result => result == wanted), $"{results.Length} results, all {wanted}");
            Expect.True(tries > results.Length, $"{tries} tries for {results.Length} results");
            Expect.Throws<NotSupportedException>(() => pool.RunAsync<int>(model => { throw new NotSupportedException("mine"); })
                .Wait(), "mine");
        }
    }

    public static void CancellingEndsWorkOfAPool()
    {
        using (ModelPool pool = ModelPool.LoadAsync(Material.Slow, 1).Result)
        using (var source = new CancellationTokenSource(300))
        {
            Task<int> running = pool.RunAsync(RunSlowly, source.Token);
            Task<int> waiting = pool.RunAsync(RunSlowly, source.Token);
            Expect.TakesAtMost(Quick, () =>
            {
                Expect.Throws<OperationCanceledException>(() => running.Wait());
                Expect.Throws<OperationCanceledException>(() => waiting.Wait());
            });
            Expect.Equal(1, pool.RunAsync(model => model.Inputs.Count).Result);
            Task<int> last = pool.RunAsync(RunSlowly);
            Thread.Sleep(250);  // until the run has begun
            pool.Dispose();
            Expect.TakesAtMost(Quick, () => ExpectEnd(last));
            Expect.Throws<ObjectDisposedException>(() => pool.RunAsync(RunSlowly).Wait());
        }
    }

    // On a busy machine the model may be closed before the run begins.
    private static void ExpectEnd(Task run)
    {
        try
        {
            run.Wait();
        }
        catch (AggregateException several) when (several.InnerException is HostEndedException ||
                                                 several.InnerException is ObjectDisposedException)
        {
            return;
        }
        throw new Exception("the run did not fail");
    }

    [MethodImpl(MethodImplOptions.NoInlining)]
    private static void Forget()
    {
        // On another thread, because this thread's stack could keep the model alive.
        var thread = new Thread(() => GC.KeepAlive(Material.InHost(Material.Voice)));
        thread.Start();
        thread.Join();
    }

    private static float Probability(Model model)
    {
        model.SetInput(0, Silence);
        model.Run();
        return model.GetOutput<float>(0)[0];
    }

    private static int RunSlowly(Model model)
    {
        model.SetInput(0, new float[Material.SlowSize]);
        model.Run();
        return 0;
    }
}
