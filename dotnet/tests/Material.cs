using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.IO;
using System.Linq;
using System.Text;
using Orvane;

/// <summary>Models, folders and host processes of the tests.</summary>
internal static class Material
{
    internal static readonly bool IsWindows = Path.DirectorySeparatorChar == '\\';

    /// <summary>A real model: inputs input [1, 576] and state [2, 1, 128].</summary>
    internal static string Voice { get; private set; }

    /// <summary>A folder for files. No code page contains all characters of its name.</summary>
    internal static string Folder { get; private set; }

    /// <summary>Elements of the slow model's input.</summary>
    internal const int SlowSize = 1024 * 1024;

    /// <summary>A model whose run takes seconds: t0 [1024, 1024], multiplied with itself many times.</summary>
    internal static string Slow { get; private set; }

    /// <summary>A file with only the first part of a real model.</summary>
    internal static string Broken { get; private set; }

    /// <summary>Input t0 [?, 2], which is the output too.</summary>
    internal static string Dynamic { get; private set; }

    internal static void Prepare(string voice, string folder)
    {
        Voice = voice;
        Folder = Path.Combine(folder, "模型 é");
        Directory.CreateDirectory(Folder);
        Slow = Write("slow.xml", "1024,1024", 250);
        Broken = At("broken.onnx");
        File.WriteAllBytes(Broken, File.ReadAllBytes(voice).Take(1000).ToArray());
        Dynamic = Write("dynamic.xml", "-1,2", 0);
    }

    internal static string At(string name)
    {
        return Path.Combine(Folder, name);
    }

    internal static Model InHost(string path, TimeSpan? limit = null, TimeSpan? loadLimit = null)
    {
        return new Model(path, new ModelOptions { Host = true, TimeLimit = limit, LoadTimeLimit = loadLimit });
    }

    /// <summary>The host processes that this process has started.</summary>
    internal static IEnumerable<int> Hosts()
    {
        int self = Process.GetCurrentProcess().Id;
        foreach (Process process in Process.GetProcessesByName("orvane_host"))
            if (IsWindows || ParentOf(process.Id) == self)  // the tests are alone in their Wine prefix
                yield return process.Id;
    }

    internal static void KillHosts()
    {
        foreach (int host in Hosts().ToArray())
            try
            {
                Process.GetProcessById(host).Kill();
            }
            catch (Exception exception) when (exception is ArgumentException || exception is InvalidOperationException ||
                                              exception is System.ComponentModel.Win32Exception)
            {
                // The process has ended meanwhile.
            }
    }

    private static int ParentOf(int process)
    {
        try
        {
            string stat = File.ReadAllText($"/proc/{process}/stat");
            string[] fields = stat.Substring(stat.LastIndexOf(')') + 2).Split(' ');
            return fields[0] == "Z" ? 0 : int.Parse(fields[1]);
        }
        catch (IOException)
        {
            return 0;
        }
    }

    /// <summary>Writes a model without weights: a parameter, layers of MatMul, a result.</summary>
    private static string Write(string name, string shape, int layers)
    {
        string dimensions = string.Concat(shape.Split(',').Select(dimension => $"<dim>{dimension}</dim>"));
        Func<int, bool, string> port = (id, isOutput) =>
            $"<port id=\"{id}\"{(isOutput ? $" precision=\"FP32\" names=\"t{id}\"" : "")}>{dimensions}</port>";
        var text = new StringBuilder("<?xml version=\"1.0\"?>\n<net name=\"m\" version=\"11\"><layers>");
        text.Append($"<layer id=\"0\" name=\"x\" type=\"Parameter\" version=\"opset1\"><data shape=\"{shape}\" " +
                    $"element_type=\"f32\"/><output>{port(0, true)}</output></layer>");
        for (int i = 1; i <= layers; ++i)
            text.Append($"<layer id=\"{i}\" name=\"m{i}\" type=\"MatMul\" version=\"opset1\"><data transpose_a=\"false\" " +
                        $"transpose_b=\"false\"/><input>{port(0, false)}{port(1, false)}</input>" +
                        $"<output>{port(2, true)}</output></layer>");
        int last = layers + 1;
        text.Append($"<layer id=\"{last}\" name=\"y\" type=\"Result\" version=\"opset1\"><input>{port(0, false)}</input>" +
                    "</layer></layers><edges>");
        for (int i = 1; i <= last; ++i)
        {
            int from = i == 1 ? 0 : 2;
            text.Append($"<edge from-layer=\"{i - 1}\" from-port=\"{from}\" to-layer=\"{i}\" to-port=\"0\"/>");
            if (i < last)
                text.Append($"<edge from-layer=\"{i - 1}\" from-port=\"{from}\" to-layer=\"{i}\" to-port=\"1\"/>");
        }
        string path = At(name);
        File.WriteAllText(path, text.Append("</edges></net>").ToString());
        File.WriteAllBytes(Path.ChangeExtension(path, ".bin"), new byte[0]);
        return path;
    }
}
