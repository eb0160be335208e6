namespace Orvane
{
    /// <summary>A step of a load.</summary>
    public enum LoadStep
    {
        /// <summary>The model file is being read.</summary>
        Reading = 1,

        /// <summary>The model is being compiled for its device.</summary>
        Compiling = 2,

        /// <summary>The cache file is being read.</summary>
        Importing = 3,

        /// <summary>The cache file is being written.</summary>
        Writing = 4,

        /// <summary>The host process is being started.</summary>
        StartingHost = 5,

        /// <summary>The host process is loading the model.</summary>
        InHost = 6
    }
}
