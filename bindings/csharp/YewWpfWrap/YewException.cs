using System;

namespace YewWpfWrap
{
    /// <summary>Thrown when a library call returns a status other than <see cref="YewWpfWrap.Status.Ok"/>.</summary>
    public class YewException : Exception
    {
        public YewException(Status status, string operation)
            : base(operation + " returned " + Describe(status))
        {
            Status = status;
        }

        /// <summary>The status the call returned.</summary>
        public Status Status { get; }

        static string Describe(Status status)
        {
            switch (status)
            {
                case Status.Refused: return "1 (refused: an unsupported size or type, or memory ran out)";
                case Status.Aborted: return "2 (aborted)";
                case Status.WriteFailed: return "-1 (a file could not be written)";
                default: return ((int)status).ToString(System.Globalization.CultureInfo.InvariantCulture);
            }
        }
    }
}
