using System.Collections.Generic;

namespace Orvane
{
    /// <summary>The inputs and outputs of a model file: see <see cref="ModelFile.Describe"/>.</summary>
    public sealed class ModelDescription
    {
        internal ModelDescription(IReadOnlyList<Tensor> inputs, IReadOnlyList<Tensor> outputs)
        {
            Inputs = inputs;
            Outputs = outputs;
        }

        /// <summary>The inputs, in the model's order.</summary>
        public IReadOnlyList<Tensor> Inputs { get; }

        /// <summary>The outputs, in the model's order.</summary>
        public IReadOnlyList<Tensor> Outputs { get; }
    }
}
