using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.IO;

namespace YewWpfWrap.Tests
{
    /// <summary>A console test runner: Debian packages no test framework that runs
    /// on its Mono, so cases are plain methods and failures are exceptions.</summary>
    static class Runner
    {
        static int Main()
        {
            var cases = new List<KeyValuePair<string, Action>>
            {
                Case("records have the C layout", InteropTests.RecordsHaveTheCLayout),
                Case("every export is declared and every declaration resolves", InteropTests.ExportsAndDeclarationsMatch),
                Case("globals are read through their address", InteropTests.GlobalsAreReadThroughTheirAddress),
                Case("records and by-value results cross the boundary", InteropTests.RecordsCrossTheBoundary),
                Case("the abort flag stops a filter", InteropTests.AbortFlagStopsAFilter),
                Case("effects match the C entry points on photographs", EffectTests.EffectsMatchTheCEntryPoints),
                Case("span overloads write only their slice", EffectTests.SpanOverloadsWriteOnlyTheirSlice),
                Case("argument errors throw before the library runs", EffectTests.ArgumentErrorsThrowBeforeTheCall),
                Case("refusals throw YewException with the status", EffectTests.RefusalsThrowWithTheStatus),
            };
            int passed = 0, failed = 0;
            foreach (var c in cases)
            {
                try
                {
                    c.Value();
                    passed++;
                    Console.WriteLine("ok   " + c.Key);
                }
                catch (Exception e)
                {
                    failed++;
                    Console.WriteLine("FAIL " + c.Key + ": " + e);
                }
            }
            Console.WriteLine($"{passed} passed, {failed} failed");
            return failed == 0 ? 0 : 1;
        }

        static KeyValuePair<string, Action> Case(string name, Action body) => new KeyValuePair<string, Action>(name, body);
    }

    class CheckFailed : Exception
    {
        public CheckFailed(string message) : base(message) { }
    }

    static class Check
    {
        public static void True(bool condition, string what)
        {
            if (!condition) throw new CheckFailed(what);
        }

        public static void Equal<T>(T expected, T actual, string what)
        {
            if (!EqualityComparer<T>.Default.Equals(expected, actual))
                throw new CheckFailed($"{what}: expected {expected}, got {actual}");
        }

        public static void Bytes(byte[] expected, byte[] actual, string what)
        {
            Equal(expected.Length, actual.Length, what + " length");
            for (int i = 0; i < expected.Length; i++)
                if (expected[i] != actual[i])
                    throw new CheckFailed($"{what}: first difference at byte {i} (pixel {i / 3}): expected {expected[i]}, got {actual[i]}");
        }

        public static T Throws<T>(Action action, string what) where T : Exception
        {
            try
            {
                action();
            }
            catch (T e)
            {
                return e;
            }
            catch (Exception e)
            {
                throw new CheckFailed($"{what}: expected {typeof(T).Name}, got {e.GetType().Name}: {e.Message}");
            }
            throw new CheckFailed($"{what}: expected {typeof(T).Name}, nothing was thrown");
        }
    }

    /// <summary>Paths handed in by the build and the external programs the tests run.</summary>
    static class Env
    {
        public static string Get(string name)
        {
            string value = Environment.GetEnvironmentVariable(name);
            if (string.IsNullOrEmpty(value)) throw new CheckFailed(name + " is not set (run the tests through ctest)");
            return value;
        }

        public static string TempDir()
        {
            string dir = Environment.GetEnvironmentVariable("OX_TEST_TMP");
            if (string.IsNullOrEmpty(dir)) dir = Path.Combine(Path.GetTempPath(), "ox_csharp_tests");
            Directory.CreateDirectory(dir);
            return dir;
        }

        /// <summary>Runs a program and returns its standard output; fails on a non-zero exit.</summary>
        public static string Run(string program, params string[] args)
        {
            var info = new ProcessStartInfo(program, string.Join(" ", Array.ConvertAll(args, Quote)))
            {
                UseShellExecute = false,
                RedirectStandardOutput = true,
                RedirectStandardError = true,
            };
            using (var p = Process.Start(info))
            {
                string output = p.StandardOutput.ReadToEnd();
                string error = p.StandardError.ReadToEnd();
                p.WaitForExit();
                if (p.ExitCode != 0) throw new CheckFailed($"{program} exited with {p.ExitCode}: {error}");
                return output;
            }
        }

        static string Quote(string arg) => "\"" + arg.Replace("\"", "\\\"") + "\"";
    }
}
