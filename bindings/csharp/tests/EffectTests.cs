using System;
using System.Collections.Generic;
using System.Globalization;
using System.IO;
using System.Linq;

namespace YewWpfWrap.Tests
{
    /// <summary>The safe layer against the same calls made from C.</summary>
    static class EffectTests
    {
        class Picture
        {
            public string Name;
            public byte[] Bgr;
            public int Width, Height;
        }

        /// <summary>One effect call: the binding's form and the reference program's arguments.</summary>
        class EffectCase
        {
            public string Name;
            public Func<Picture, byte[]> Binding;
            public string[] Reference;
        }

        static string F(float v) => v.ToString("R", CultureInfo.InvariantCulture);

        static readonly EffectCase[] DefaultCases =
        {
            // The binding's defaults, written out for the C side.
            new EffectCase { Name = "simplify defaults", Binding = p => Effects.Simplify(p.Bgr, p.Width, p.Height),
                Reference = new[] { "simplify", "8", F(0.01f), F(0.3f) } },
            new EffectCase { Name = "tiltshift defaults", Binding = p => Effects.TiltShift(p.Bgr, p.Width, p.Height),
                Reference = new[] { "tiltshift", F(0.3f), F(0.2f), F(0.2f), F(0.4f), F(0.8f), F(0.6f) } },
            new EffectCase { Name = "enhance defaults", Binding = p => Effects.Enhance(p.Bgr, p.Width, p.Height),
                Reference = new[] { "enhance", F(0.3f) } },
        };

        static readonly EffectCase[] OtherCases =
        {
            // Each argument in its own place: swapped floats would change the bytes.
            new EffectCase { Name = "simplify 2 passes, no saturation",
                Binding = p => Effects.Simplify(p.Bgr, p.Width, p.Height, 2, 0.05f, 0f),
                Reference = new[] { "simplify", "2", F(0.05f), F(0f) } },
            new EffectCase { Name = "tiltshift asymmetric band, no lens",
                Binding = p => Effects.TiltShift(p.Bgr, p.Width, p.Height, 0.5f, 0f, 0.1f, 0.15f, 0.9f, 0.5f),
                Reference = new[] { "tiltshift", F(0.5f), F(0f), F(0.1f), F(0.15f), F(0.9f), F(0.5f) } },
            new EffectCase { Name = "tiltshift lens only", Binding = p => Effects.TiltShift(p.Bgr, p.Width, p.Height, 0f, -0.3f, 0.3f, 0.2f),
                Reference = new[] { "tiltshift", F(0f), F(-0.3f), F(0.3f), F(0.2f), F(0.8f), F(0.6f) } },
            new EffectCase { Name = "enhance contrast only", Binding = p => Effects.Enhance(p.Bgr, p.Width, p.Height, 0f),
                Reference = new[] { "enhance", F(0f) } },
        };

        static List<Picture> pictures;

        static List<Picture> Pictures()
        {
            if (pictures != null) return pictures;
            pictures = new List<Picture>();
            string dir = Environment.GetEnvironmentVariable("OX_PHOTO_DIR");
            if (!string.IsNullOrEmpty(dir) && Directory.Exists(dir))
            {
                foreach (string path in Directory.GetFiles(dir).Where(f => f.EndsWith(".png") || f.EndsWith(".jpg")).OrderBy(f => f))
                {
                    string raw = Path.Combine(Env.TempDir(), Path.GetFileName(path) + ".bgr");
                    string[] size = Env.Run(Env.Get("OX_REFERENCE"), "decode", path, raw).Trim().Split(' ');
                    pictures.Add(new Picture
                    {
                        Name = Path.GetFileName(path),
                        Bgr = File.ReadAllBytes(raw),
                        Width = int.Parse(size[0], CultureInfo.InvariantCulture),
                        Height = int.Parse(size[1], CultureInfo.InvariantCulture),
                    });
                }
            }
            if (pictures.Count == 0)
            {
                Console.WriteLine("     no photographs in OX_PHOTO_DIR: using a synthetic picture");
                var rng = new Random(7);
                var p = new Picture { Name = "synthetic", Width = 317, Height = 211 };
                p.Bgr = new byte[p.Width * p.Height * 3];
                for (int i = 0; i < p.Bgr.Length; i++) p.Bgr[i] = (byte)((i / 3 % p.Width) + rng.Next(40));
                pictures.Add(p);
            }
            return pictures;
        }

        static byte[] Reference(Picture p, string[] call, out int status)
        {
            string input = Path.Combine(Env.TempDir(), p.Name + ".in");
            string output = Path.Combine(Env.TempDir(), p.Name + ".out");
            File.WriteAllBytes(input, p.Bgr);
            var args = new List<string> { call[0], input, output, p.Width.ToString(CultureInfo.InvariantCulture),
                p.Height.ToString(CultureInfo.InvariantCulture) };
            args.AddRange(call.Skip(1));
            status = int.Parse(Env.Run(Env.Get("OX_REFERENCE"), args.ToArray()).Trim(), CultureInfo.InvariantCulture);
            return File.ReadAllBytes(output);
        }

        public static void EffectsMatchTheCEntryPoints()
        {
            var runs = new List<KeyValuePair<Picture, EffectCase>>();
            foreach (Picture p in Pictures())
                foreach (EffectCase c in DefaultCases) runs.Add(new KeyValuePair<Picture, EffectCase>(p, c));
            foreach (EffectCase c in OtherCases) runs.Add(new KeyValuePair<Picture, EffectCase>(Pictures()[0], c));

            foreach (var run in runs)
            {
                Picture p = run.Key;
                string what = run.Value.Name + " on " + p.Name;
                int status;
                byte[] expected = Reference(p, run.Value.Reference, out status);
                Check.Equal(0, status, what + ": C status");
                byte[] before = (byte[])p.Bgr.Clone();
                byte[] actual = run.Value.Binding(p);
                Check.Bytes(expected, actual, what);
                Check.Bytes(before, p.Bgr, what + ": input untouched");
            }
        }

        public static void SpanOverloadsWriteOnlyTheirSlice()
        {
            Picture p = Pictures()[0];
            int n = p.Bgr.Length;
            var runs = new KeyValuePair<string, SpanEffect>[]
            {
                Run("simplify", (s, d) => Effects.Simplify(s, d, p.Width, p.Height)),
                Run("tiltshift", (s, d) => Effects.TiltShift(s, d, p.Width, p.Height)),
                Run("enhance", (s, d) => Effects.Enhance(s, d, p.Width, p.Height)),
            };
            for (int i = 0; i < runs.Length; i++)
            {
                byte[] expected = DefaultCases[i].Binding(p);
                // Source and destination at odd offsets inside larger buffers with guards.
                var source = new byte[n + 10];
                Array.Copy(p.Bgr, 0, source, 3, n);
                var buffer = Enumerable.Repeat((byte)0xA5, n + 10).ToArray();
                runs[i].Value(new ReadOnlySpan<byte>(source, 3, n), new Span<byte>(buffer, 7, n));
                Check.Bytes(expected, buffer.Skip(7).Take(n).ToArray(), runs[i].Key + " into a slice");
                Check.True(buffer.Take(7).Concat(buffer.Skip(7 + n)).All(b => b == 0xA5), runs[i].Key + ": guard bytes kept");

                // The array form writes the same bytes into the caller's array.
                var into = new byte[n];
                if (i == 0) Effects.Simplify(p.Bgr, into, p.Width, p.Height);
                if (i == 1) Effects.TiltShift(p.Bgr, into, p.Width, p.Height);
                if (i == 2) Effects.Enhance(p.Bgr, into, p.Width, p.Height);
                Check.Bytes(expected, into, runs[i].Key + " into an array");
            }
            // In place (the same buffer twice) is allowed and leaves a result there.
            byte[] inPlace = (byte[])p.Bgr.Clone();
            Effects.Enhance(inPlace, inPlace, p.Width, p.Height);
            Check.Bytes(DefaultCases[2].Binding(p), inPlace, "enhance in place");
        }

        // Spans cannot be type arguments, so no Action<,> here.
        delegate void SpanEffect(ReadOnlySpan<byte> source, Span<byte> destination);

        static KeyValuePair<string, SpanEffect> Run(string name, SpanEffect effect) =>
            new KeyValuePair<string, SpanEffect>(name, effect);

        public static void ArgumentErrorsThrowBeforeTheCall()
        {
            var ok = new byte[4 * 4 * 3];
            var cases = new Dictionary<string, Action>
            {
                { "null source", () => Effects.Simplify(null, 4, 4) },
                { "null source into array", () => Effects.Enhance(null, new byte[48], 4, 4) },
                { "null destination", () => Effects.TiltShift(ok, null, 4, 4) },
                { "source too short", () => Effects.Enhance(new byte[47], 4, 4) },
                { "source too long", () => Effects.Simplify(new byte[49], 4, 4) },
                { "destination too short", () => Effects.TiltShift(ok, new byte[45], 4, 4) },
                { "zero width", () => Effects.Enhance(new byte[0], 0, 4) },
                { "negative height", () => Effects.Simplify(ok, -4, -4) },
                { "size overflows an array", () => Effects.Enhance(ok, 65536, 65536) },
                { "partial overlap", () => { var b = new byte[60]; Effects.Enhance(new ReadOnlySpan<byte>(b, 0, 48), new Span<byte>(b, 12, 48), 4, 4); } },
            };
            foreach (var c in cases)
                Check.Throws<ArgumentException>(c.Value, c.Key);
            Check.Throws<ArgumentNullException>(cases["null destination"], "null destination names its kind");
            Check.Throws<ArgumentOutOfRangeException>(cases["negative height"], "a bad size names its kind");
        }

        public static void RefusalsThrowWithTheStatus()
        {
            // The library refuses pictures smaller than 4 x 4 pixels.
            var tiny = new byte[3 * 3 * 3];
            var cases = new Dictionary<string, Action>
            {
                { "simplify", () => Effects.Simplify(tiny, 3, 3) },
                { "tiltshift", () => Effects.TiltShift(tiny, 3, 3) },
                { "enhance", () => Effects.Enhance(tiny, 3, 3) },
            };
            foreach (var c in cases)
            {
                var e = Check.Throws<YewException>(c.Value, c.Key + " of 3 x 3");
                Check.Equal(Status.Refused, e.Status, c.Key + " status");
            }
        }
    }
}
