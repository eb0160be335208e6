using System;
using System.Linq;
using Orvane;

/// <summary>The methods that only the assembly for .NET Standard 2.1 has.</summary>
internal static class SpanTest
{
    public static void SpansAreCopied()
    {
        using (var model = new Model(Material.Voice))
        {
            var twice = new float[1152];
            model.SetInput(0, new ReadOnlySpan<float>(twice, 3, 576));
            model.SetInput("state", new ReadOnlySpan<float>(new float[256]));
            model.Run();
            var result = new float[3];
            model.GetOutput(0, new Span<float>(result, 1, 1));
            Expect.Sequence(new[] { 0, model.GetOutput<float>(0)[0], 0 }, result);
            Expect.Throws<ArgumentException>(() => model.SetInput(0, new ReadOnlySpan<float>(twice, 0, 575)), "2300");
            Expect.Throws<ArgumentException>(() => model.GetOutput(0, new Span<double>(new double[1])), "Double");
        }
    }
}
