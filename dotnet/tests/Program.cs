using System;
using System.Diagnostics;
using System.IO;
using System.Linq;
using System.Reflection;

/// <summary>
/// OrvaneTest VOICE FOLDER [NAME]: the tests of the C# package, or the one test NAME. VOICE is the voice model, FOLDER an
/// empty folder. Every public static method of a class whose name ends in Test is a test.
/// </summary>
internal static class Program
{
    private static int Main(string[] arguments)
    {
        Material.Prepare(arguments[0], arguments[1]);
        int failures = 0;
        var tests = Assembly.GetExecutingAssembly().GetTypes().Where(type => type.Name.EndsWith("Test"))
            .SelectMany(type => type.GetMethods(BindingFlags.Public | BindingFlags.Static | BindingFlags.DeclaredOnly))
            .Where(method => arguments.Length < 3 || method.Name == arguments[2]).ToArray();
        foreach (MethodInfo test in tests)
        {
            Stopwatch watch = Stopwatch.StartNew();
            try
            {
                test.Invoke(null, null);
                Expect.Soon(() => !Material.Hosts().Any(), "all host processes end");
                Console.WriteLine($"ok     {test.DeclaringType.Name}.{test.Name} {watch.ElapsedMilliseconds} ms");
            }
            catch (Exception exception)
            {
                ++failures;
                Material.KillHosts();
                Console.WriteLine($"FAILED {test.DeclaringType.Name}.{test.Name}: {exception.InnerException ?? exception}");
            }
        }
        Console.WriteLine($"{tests.Length - failures} of {tests.Length} tests passed");
        return failures == 0 && tests.Length > 0 ? 0 : 1;
    }
}
