using System;
using System.Collections.Generic;
using System.Globalization;
using System.IO;
using System.Linq;
using System.Reflection;
using System.Runtime.CompilerServices;
using System.Runtime.InteropServices;

namespace YewWpfWrap.Tests
{
    /// <summary>The declarations against the C compiler's view of the headers and
    /// against the built library's symbol table.</summary>
    static class InteropTests
    {
        static readonly Assembly Binding = typeof(Native).Assembly;

        public static void RecordsHaveTheCLayout()
        {
            var sizes = new Dictionary<string, long>();
            var offsets = new Dictionary<string, Dictionary<string, long>>();
            var fieldSizes = new Dictionary<string, long>();
            foreach (string line in Env.Run(Env.Get("OX_LAYOUT_PROBE")).Split('\n'))
            {
                string[] w = line.Split(' ');
                if (w[0] == "record")
                {
                    sizes[w[1]] = long.Parse(w[2], CultureInfo.InvariantCulture);
                    offsets[w[1]] = new Dictionary<string, long>();
                }
                else if (w[0] == "field")
                {
                    offsets[w[1]][w[2]] = long.Parse(w[3], CultureInfo.InvariantCulture);
                    fieldSizes[w[1] + "." + w[2]] = long.Parse(w[4], CultureInfo.InvariantCulture);
                }
            }
            Check.True(sizes.Count >= 30, "the probe printed " + sizes.Count + " records");

            var declared = Binding.GetTypes()
                .Where(t => t.IsValueType && !t.IsEnum && !t.IsNested && t.Namespace == "YewWpfWrap")
                .Select(t => t.Name).ToList();
            foreach (string name in declared)
                Check.True(sizes.ContainsKey(name), "C# struct " + name + " is no record of the headers");

            foreach (var record in sizes)
            {
                Type t = Binding.GetType("YewWpfWrap." + record.Key);
                Check.True(t != null, "record " + record.Key + " has no C# struct");
                var fields = t.GetFields(BindingFlags.Public | BindingFlags.Instance);
                Check.Equal(offsets[record.Key].Count, fields.Length, record.Key + " field count");
                foreach (FieldInfo f in fields)
                {
                    Check.True(offsets[record.Key].ContainsKey(f.Name), record.Key + "." + f.Name + " is not a C field");
                    Check.Equal(offsets[record.Key][f.Name], (long)Marshal.OffsetOf(t, f.Name), record.Key + "." + f.Name + " offset");
                    // Equal offsets can hide a float where C has a double before padding.
                    if (!IsTruncatedArray(t, f))
                        Check.Equal(fieldSizes[record.Key + "." + f.Name], FieldSize(f), record.Key + "." + f.Name + " size");
                }
                FieldInfo lengthConst = t.GetFields(BindingFlags.Public | BindingFlags.Static).FirstOrDefault(f => f.IsLiteral);
                if (lengthConst == null)
                {
                    Check.Equal(record.Value, (long)Marshal.SizeOf(t), record.Key + " size");
                    continue;
                }
                // A trailing array too large for a .NET value type: declared with one
                // element, its full length given as a constant.
                string arrayName = lengthConst.Name.Substring(0, lengthConst.Name.Length - "Length".Length);
                FieldInfo array = t.GetField(arrayName);
                var fixedBuffer = (FixedBufferAttribute)array.GetCustomAttributes(typeof(FixedBufferAttribute), false)[0];
                long end = (long)Marshal.OffsetOf(t, arrayName) +
                           (long)(int)lengthConst.GetValue(null) * Marshal.SizeOf(fixedBuffer.ElementType);
                Check.True(record.Value >= end && record.Value - end < 8,
                    $"{record.Key} size: C has {record.Value}, the declaration ends at {end}");
            }
        }

        static bool IsTruncatedArray(Type t, FieldInfo f) => t.GetField(f.Name + "Length") != null;

        /// <summary>Bytes the marshaller gives a field, fixed buffers and arrays included.</summary>
        static long FieldSize(FieldInfo f)
        {
            var marshal = (MarshalAsAttribute)f.GetCustomAttributes(typeof(MarshalAsAttribute), false).FirstOrDefault();
            if (marshal != null && marshal.Value == UnmanagedType.ByValArray)
                return (long)marshal.SizeConst * Marshal.SizeOf(f.FieldType.GetElementType());
            if (marshal != null && marshal.Value == UnmanagedType.I1)
                return 1;
            return Marshal.SizeOf(f.FieldType);
        }

        public static void ExportsAndDeclarationsMatch()
        {
            var exported = new HashSet<string>();
            foreach (string line in Env.Run("nm", "-D", "--defined-only", Env.Get("OX_LIBRARY")).Split('\n'))
            {
                string[] w = line.Split(new[] { ' ' }, StringSplitOptions.RemoveEmptyEntries);
                if (w.Length == 3 && !w[2].Contains("@")) exported.Add(w[2]);
            }
            Check.True(exported.Count > 250, "nm found " + exported.Count + " exported names");

            var declared = new HashSet<string>();
            foreach (MethodInfo m in typeof(Native).GetMethods(BindingFlags.Public | BindingFlags.NonPublic | BindingFlags.Static))
            {
                var import = (DllImportAttribute)m.GetCustomAttributes(typeof(DllImportAttribute), false).FirstOrDefault();
                if (import == null || import.Value != Native.Library) continue;
                string entry = import.EntryPoint ?? m.Name;
                declared.Add(entry);
                // The marshaller accepts the signature, and the library has the name.
                Marshal.Prelink(m);
                Check.True(Native.SymbolAddress(entry) != IntPtr.Zero, "declared function " + entry + " is not in the library");
            }
            foreach (string[] g in Native.Globals)
            {
                declared.Add(g[0]);
                Check.True(Native.SymbolAddress(g[0]) != IntPtr.Zero, "declared global " + g[0] + " is not in the library");
            }
            var undeclared = exported.Where(n => !declared.Contains(n)).OrderBy(n => n).ToList();
            Check.True(undeclared.Count == 0, "exported but not declared: " + string.Join(", ", undeclared));
            var missing = declared.Where(n => !exported.Contains(n)).OrderBy(n => n).ToList();
            Check.True(missing.Count == 0, "declared but not exported: " + string.Join(", ", missing));
        }

        public static void GlobalsAreReadThroughTheirAddress()
        {
            int saved = Native.oxSystemInfoGetNumberOfCores();
            try
            {
                Native.oxSystemInfoSetNumberOfCores(3);
                Check.Equal(3, Marshal.ReadInt32(Native.SymbolAddress("number_of_cores")), "number_of_cores");
            }
            finally
            {
                Native.oxSystemInfoSetNumberOfCores(saved);
            }
            // Blue weight with the rounding half folded in, green and red without.
            IntPtr table = Native.SymbolAddress("ox_toGray_tab");
            Check.Equal(255 * 1868 + 8192, Marshal.ReadInt32(table, 255 * 4), "ox_toGray_tab[255]");
            Check.Equal(255 * 4899, Marshal.ReadInt32(table, 767 * 4), "ox_toGray_tab[767]");
        }

        public static void RecordsCrossTheBoundary()
        {
            IntPtr image = Native.oxImageCreateWithType(7, 5, Native.OX_RGBA, Native.OX_16U);
            Check.True(image != IntPtr.Zero, "oxImageCreateWithType");
            try
            {
                var record = Marshal.PtrToStructure<oxImage>(image);
                Check.Equal(Native.OX_16U, record.type, "type");
                Check.Equal(Native.OX_RGBA, record.encoding, "encoding");
                Check.Equal(5, record.height, "height");
                Check.Equal(7, record.width, "width");
                Check.True(record.data != IntPtr.Zero, "data");
                Check.Equal(7, record.roi.width, "roi.width");
                Check.Equal(5, record.roi.height, "roi.height");

                var roi = new oxRect { x = 1, y = 2, width = 3, height = 2 };
                IntPtr roiPtr = Marshal.AllocHGlobal(Marshal.SizeOf<oxRect>());
                try
                {
                    Marshal.StructureToPtr(roi, roiPtr, false);
                    Native.oxImageSetROI(image, roiPtr);
                }
                finally
                {
                    Marshal.FreeHGlobal(roiPtr);
                }
                Native.oxImageSetCOI(image, 4);
                record = Marshal.PtrToStructure<oxImage>(image);
                Check.Equal(2, record.roi.y, "roi.y after SetROI");
                Check.Equal(4, record.coi, "coi after SetCOI");

                // A record returned by value in registers.
                oxSize size = Native.oxImageSize(image);
                Check.Equal(7, size.width, "oxImageSize width");
                Check.Equal(5, size.height, "oxImageSize height");

                // An int32_t[3] out-parameter: pixel step, row step, ROI row skip.
                var derived = new int[3];
                var pin = GCHandle.Alloc(derived, GCHandleType.Pinned);
                try
                {
                    Native.oxImageExtractDerivedMembers(image, pin.AddrOfPinnedObject());
                }
                finally
                {
                    pin.Free();
                }
                Check.Equal(8, derived[0], "pixel step");
                Check.Equal(56, derived[1], "row step");
                Check.Equal(32, derived[2], "row skip");
            }
            finally
            {
                IntPtr[] holder = { image };
                var pin = GCHandle.Alloc(holder, GCHandleType.Pinned);
                Native.oxImageRelease(pin.AddrOfPinnedObject());
                pin.Free();
                Check.Equal(IntPtr.Zero, holder[0], "release nulls the caller's pointer");
            }
            // bool results are one byte in C.
            Check.Equal(false, Native.oxImportImageFunctionIsSetted(), "no import hook installed");
        }

        public static void AbortFlagStopsAFilter()
        {
            IntPtr src = Native.oxImageCreate(16, 8, Native.OX_BGR);
            IntPtr dst = Native.oxImageCreate(16, 8, Native.OX_BGR);
            IntPtr parameters = Native.oxBlurParamsDefault();
            try
            {
                Native.oxImageSetVal(src, 100);
                using (var flag = new AbortFlag())
                {
                    Check.Equal(Status.Ok, (Status)Native.oxBlurFilter(parameters, src, dst, flag.Pointer), "flag clear");
                    flag.Abort();
                    Check.True(flag.IsSet, "IsSet after Abort");
                    Check.Equal(Status.Aborted, (Status)Native.oxBlurFilter(parameters, src, dst, flag.Pointer), "flag set");
                    flag.Reset();
                    Check.Equal(Status.Ok, (Status)Native.oxBlurFilter(parameters, src, dst, flag.Pointer), "flag reset");
                }
                // A refusal: a grey destination for a colour source.
                IntPtr grey = Native.oxImageCreate(16, 8, Native.OX_GRAY);
                Check.Equal(Status.Refused, (Status)Native.oxBlurFilter(parameters, src, grey, IntPtr.Zero), "grey destination");
                Release(grey, Native.oxImageRelease);
            }
            finally
            {
                Release(parameters, Native.oxBlurParamsRelease);
                Release(src, Native.oxImageRelease);
                Release(dst, Native.oxImageRelease);
            }
            var disposed = new AbortFlag();
            disposed.Dispose();
            Check.Throws<ObjectDisposedException>(() => { IntPtr unused = disposed.Pointer; }, "Pointer after Dispose");
        }

        static void Release(IntPtr record, Action<IntPtr> release)
        {
            IntPtr cell = Marshal.AllocHGlobal(IntPtr.Size);
            Marshal.WriteIntPtr(cell, record);
            release(cell);
            Marshal.FreeHGlobal(cell);
        }
    }
}
