namespace YewWpfWrap
{
    /// <summary>Status codes the library's functions return.</summary>
    /// <remarks>A filter may pass up a code of a filter it called unchanged, so a
    /// value outside these names can occur; it is kept as it is.</remarks>
    public enum Status
    {
        WriteFailed = -1,
        Ok = 0,
        Refused = 1,
        Aborted = 2,
    }
}
