using System;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using System.Reflection;
using System.Runtime.InteropServices;
using System.Threading;
using System.Threading.Tasks;
using Orvane;

/// <summary>Loading, data, options and errors of a model.</summary>
internal static class ModelTest
{
    private static readonly float[] Silence = new float[576];

    public static void StructuresHaveTheSizesOfTheHeader()
    {
        Type[] structures = typeof(Model).Assembly.GetTypes().Where(type => type.Name.StartsWith("Native") && type.IsValueType)
            .ToArray();
        Expect.Equal(3, structures.Length);
        foreach (Type structure in structures)
            Expect.Equal((int)structure.GetField("Size", BindingFlags.Static | BindingFlags.NonPublic).GetRawConstantValue(),
                         Marshal.SizeOf(Activator.CreateInstance(structure)));
    }

    public static void ModelReturnsTheSameBytesInAHostProcess()
    {
        var results = new List<byte[]>();
        foreach (bool host in new[] { false, true })
            using (var model = new Model(Material.Voice, new ModelOptions { Host = host }))
            {
                Expect.Sequence(new[] { "input Float32 [1, 576]", "state Float32 [2, 1, 128]" },
                                model.Inputs.Select(tensor => tensor.ToString()));
                Expect.Equal(2304, model.Inputs[0].ByteSize);
                Expect.Equal(null, model.Inputs[0].Problem);
                Expect.Sequence(new long[] { 2, 1, 128 }, model.Outputs[1].Shape);
                Expect.Equal(host ? 1 : 0, Material.Hosts().Count());
                var tone = Enumerable.Range(0, 576).Select(i => (float)Math.Sin(i / 5.0)).ToArray();
                model.SetInput("input", tone);
                model.SetInput(1, new float[256]);
                model.Run();
                var state = new float[256];
                model.GetOutput("stateN", state);
                float[] probability = model.GetOutput<float>(0);
                Expect.True(probability.Length == 1 && probability[0] > 0 && probability[0] < 1, "the output is a probability");
                Expect.Sequence(state, model.GetOutput<float>("stateN"));
                results.Add(BitConverter.GetBytes(probability[0]).Concat(state.SelectMany(BitConverter.GetBytes)).ToArray());
            }
        Expect.Sequence(results[0], results[1]);
    }

    public static void ErrorNamesTheWrongArgument()
    {
        using (var model = new Model(Material.Voice))
        {
            Expect.Throws<ArgumentOutOfRangeException>(() => model.SetInput(2, Silence), "no input 2", "2 inputs");
            Expect.Throws<ArgumentOutOfRangeException>(() => model.GetOutput<float>(-1), "no output -1");
            Expect.Throws<ArgumentException>(() => model.SetInput("sound", Silence), "\"sound\"", "input, state");
            Expect.Throws<ArgumentNullException>(() => model.SetInput((string)null, Silence));
            Expect.Throws<ArgumentNullException>(() => model.SetInput<float>(0, null));
            Expect.Throws<ArgumentNullException>(() => model.GetOutput<float>(0, null));
            Expect.Throws<ArgumentException>(() => model.SetInput(0, new double[576]), "Single", "Double");
            Expect.Throws<ArgumentException>(() => model.GetOutput<int>(0), "Single", "Int32");
            Expect.Throws<ArgumentException>(() => model.SetInput(0, new float[575]), "2304", "2300");
            Expect.Throws<ArgumentException>(() => model.GetOutput(0, new float[2]), "8");
            Expect.Throws<ArgumentNullException>(() => model.Resize(0, null));
        }
        Expect.Throws<ArgumentException>(() => new Model(null));
        Expect.Throws<ArgumentException>(() => new Model("a\0b"), "zero character");
        Refused<ArgumentException>(new ModelOptions { Key = new byte[5] }, "5");
        Refused<ArgumentOutOfRangeException>(new ModelOptions { Host = true, TimeLimit = TimeSpan.Zero }, "TimeLimit");
        Refused<ArgumentOutOfRangeException>(new ModelOptions { LoadTimeLimit = TimeSpan.FromDays(50) }, "LoadTimeLimit");
        Expect.Throws<ArgumentNullException>(() => ModelFile.Encrypt("a", "b", null));
        Expect.Throws<ArgumentOutOfRangeException>(() => new ModelPool(Material.Voice, 0));
    }

    public static void FailureHasAReason()
    {
        foreach (bool host in new[] { false, true })
        {
            var options = new ModelOptions { Host = host };
            string missing = Material.At("missing.onnx");
            OrvaneException failure = Expect.Throws<OrvaneException>(() => new Model(missing, options), missing);
            Expect.Equal(Reason.System, failure.Reason);
            Expect.Equal(2, failure.SystemError);
            Expect.Throws<OrvaneException>(() => new Model(Material.Broken, options));
            using (var model = new Model(Material.Voice, options))
                Expect.Throws<OrvaneException>(() => model.Run(), "input");
        }
        var noHost = new ModelOptions { HostProgram = Material.At("no_host") };
        Expect.Equal(Reason.System, Expect.Throws<OrvaneException>(() => new Model(Material.Voice, noHost), "no_host").Reason);
    }

    public static void ModelLoadsFromEncryptedFilesAndCaches()
    {
        var key = new byte[] { 1, 2, 3, 4 };
        string secret = Material.At("秘密.onnx"), plain = Material.At("plain.onnx"), cache = Material.At("cache.blob");
        var done = new List<double>();
        ModelFile.Encrypt(Material.Voice, secret, key, progress: new Reports(done.Add));
        Expect.True(done.Count > 0 && done.All(part => part >= 0 && part <= 1), "progress is from 0 to 1");
        ModelFile.Decrypt(secret, plain, key);
        Expect.Sequence(File.ReadAllBytes(Material.Voice), File.ReadAllBytes(plain));
        foreach (bool host in new[] { false, true })
            using (var model = new Model(secret, new ModelOptions { Host = host, Key = key }))
                Expect.Equal(2, model.Inputs.Count);
        Expect.Throws<OperationCanceledException>(
            () => ModelFile.Encrypt(Material.Voice, Material.At("none"), key, cancellationToken: new CancellationToken(true)));
        Expect.Throws<NotSupportedException>(
            () => ModelFile.Encrypt(Material.Voice, Material.At("none"), key,
                                    progress: new Reports(part => { throw new NotSupportedException("mine"); })), "mine");
        Expect.True(!File.Exists(Material.At("none")), "no file was written");

        var caching = new ModelOptions { CachePath = cache, MakeCache = true };
        new Model(Material.Voice, caching).Dispose();
        Expect.True(File.Exists(cache), "the cache was written");
        using (var model = new Model(null, caching))
            Expect.Equal(2, model.Inputs.Count);
    }

    public static void ProgressSeesEachStepAndCanCancel()
    {
        foreach (bool host in new[] { false, true })
        {
            var steps = new List<LoadStep>();
            var options = new ModelOptions { Host = host };
            options.Progress = step =>
            {
                steps.Add(step);
                return true;
            };
            new Model(Material.Voice, options).Dispose();
            Expect.True(steps.Contains(host ? LoadStep.StartingHost : LoadStep.Reading), string.Join(" ", steps));
            options.Progress = step => false;
            Expect.Throws<OperationCanceledException>(() => new Model(Material.Voice, options));
            options.Progress = step => { throw new NotSupportedException("mine"); };
            Expect.Throws<NotSupportedException>(() => new Model(Material.Voice, options), "mine");
        }
    }

    public static void ShapesAreSet()
    {
        using (var model = new Model(Material.Dynamic))
        {
            Expect.Sequence(new long[] { -1, 2 }, model.Inputs[0].Shape);
            Expect.True(model.Inputs[0].Problem.Contains("dynamic"), model.Inputs[0].Problem);
            model.Resize(0, 3, 2);
            Expect.Equal(24, model.Inputs[0].ByteSize);
            model.SetInput(0, new float[] { 1, 2, 3, 4, 5, 6 });
            model.Run();
            var result = new float[6];
            model.GetOutput(0, result);
            Expect.Sequence(new float[] { 1, 2, 3, 4, 5, 6 }, result);
            Expect.Throws<OrvaneException>(() => model.GetOutput<float>(0), "copy it into memory of that size");
        }
        ModelDescription description = ModelFile.Describe(Material.Dynamic);
        Expect.Sequence(new[] { "t0 Float32 [-1, 2]" }, description.Inputs.Select(tensor => tensor.ToString()));
        Expect.Equal(1, description.Outputs.Count);
        string target = Material.At("fixed.xml");
        var shapes = new Dictionary<string, long[]> { ["t0"] = new long[] { 4, 2 } };
        if (Material.IsWindows)  // a library by MinGW cannot write models
            Expect.Throws<OrvaneException>(() => ModelFile.Reshape(Material.Dynamic, target, shapes));
        else
        {
            ModelFile.Reshape(Material.Dynamic, target, shapes);
            using (Model model = Material.InHost(target))
                Expect.Sequence(new long[] { 4, 2 }, model.Inputs[0].Shape);
        }
        shapes["z"] = new long[] { 1 };
        Expect.Throws<ArgumentException>(() => ModelFile.Reshape(Material.Dynamic, target, shapes), "\"z\"");
    }

    public static void DevicesAndLogLinesArrive()
    {
        Expect.True(Devices.All.Any(device => device.Name == "CPU"), string.Join(" ", Devices.All));
        var lines = new List<string>();
        EventHandler<LogEventArgs> keep = (sender, line) => lines.Add(line.Level + line.Text);
        EventHandler<LogEventArgs> fail = (sender, line) => { throw new Exception("an exception that must not cross the library"); };
        Log.LineWritten += keep;
        Log.LineWritten += fail;
        Expect.Throws<OrvaneException>(() => new Model(Material.Broken));
        Log.LineWritten -= fail;
        Log.LineWritten -= keep;
        int count = lines.Count;
        Expect.True(lines.Any(line => line.StartsWith("6[ORVANE]:")), string.Join("; ", lines));
        Expect.Throws<OrvaneException>(() => new Model(Material.Broken));
        Expect.Equal(count, lines.Count);
    }

    public static void CompactingCollectorDoesNotMoveData()
    {
        bool isOver = false;
        Task collecting = Task.Run(() =>
        {
            while (!Volatile.Read(ref isOver))
            {
                GC.KeepAlive(Enumerable.Range(0, 100).Select(i => new byte[i * 10]).ToArray());
                GC.Collect(2, GCCollectionMode.Forced, true);
            }
        });
        try
        {
            // A thread that returns from the library waits for the end of a collection, and can miss many ends: a run can
            // take more than 50 ms.
            var elapsed = System.Diagnostics.Stopwatch.StartNew();
            using (Model model = Material.InHost(Material.Voice))
                for (int i = 0; i < 2000 && (i < 50 || elapsed.Elapsed.TotalSeconds < 5); ++i)
                {
                    var data = new float[576];
                    data[i % 576] = 1;
                    model.SetInput(0, data);
                    model.Run();
                    float result = model.GetOutput<float>(0)[0];
                    Expect.True(result > 0 && result < 1, result.ToString());
                }
        }
        finally
        {
            Volatile.Write(ref isOver, true);
            collecting.Wait(TimeSpan.FromSeconds(20));
        }
    }

    private static void Refused<TException>(ModelOptions options, string word) where TException : Exception
    {
        Expect.Throws<TException>(() => new Model(Material.Voice, options), word);
    }

    private sealed class Reports : IProgress<double>
    {
        private readonly Action<double> report;

        internal Reports(Action<double> report)
        {
            this.report = report;
        }

        public void Report(double value)
        {
            report(value);
        }
    }
}
