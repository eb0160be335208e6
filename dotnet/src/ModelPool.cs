using System;
using System.Collections.Concurrent;
using System.Threading;
using System.Threading.Tasks;

namespace Orvane
{
    /// <summary>
    /// Several copies of one model, each in a separate host process, for work from many threads. If a host process ends,
    /// the pool starts a new one and runs the work again. All methods are thread-safe.
    /// </summary>
    public sealed class ModelPool : IDisposable
    {
        private readonly Model[] models;
        private readonly ConcurrentQueue<Model> idle;
        private readonly SemaphoreSlim turns;
        private volatile bool isDisposed;

        /// <summary>Loads the copies, all at once.</summary>
        /// <param name="path">The model file.</param>
        /// <param name="size">The number of copies, at least 1, and of pieces of work that can run at the same time.</param>
        /// <param name="options">How to run them; null for the CPU. The models run in host processes even if
        /// <see cref="ModelOptions.Host"/> is false. <see cref="ModelOptions.Progress"/> is called by several threads at
        /// once.</param>
        /// <exception cref="OrvaneException">The model cannot be loaded. No host process is left.</exception>
        public ModelPool(string path, int size, ModelOptions options = null)
            : this(LoadAll(path, size, options, CancellationToken.None).GetAwaiter().GetResult())
        {
        }

        private ModelPool(Model[] models)
        {
            this.models = models;
            idle = new ConcurrentQueue<Model>(models);
            turns = new SemaphoreSlim(models.Length);
        }

        /// <summary>The number of copies.</summary>
        public int Size => models.Length;

        /// <summary>How often the pool runs work again after its host process ended. The default is 1.</summary>
        public int Retries { get; set; } = 1;

        /// <summary>Loads the copies on other threads, as <see cref="ModelPool(string, int, ModelOptions)"/>.</summary>
        public static async Task<ModelPool> LoadAsync(string path, int size, ModelOptions options = null,
                                                      CancellationToken cancellationToken = default(CancellationToken))
        {
            return new ModelPool(await LoadAll(path, size, options, cancellationToken).ConfigureAwait(false));
        }

        /// <summary>
        /// Waits for a free copy, and runs your work with it on another thread. The work sets all inputs, runs the model and
        /// returns a result from the outputs. It can run more than once: see <see cref="Retries"/>.
        /// </summary>
        /// <param name="work">Uses the model only until it returns.</param>
        /// <param name="cancellationToken">Cancelling ends the wait, or the host process that the work runs in.</param>
        /// <returns>The result of the work.</returns>
        /// <exception cref="HostEndedException">The host process ended at every try.</exception>
        /// <exception cref="OperationCanceledException">The token was cancelled.</exception>
        /// <exception cref="ObjectDisposedException">The pool was disposed of.</exception>
        public async Task<TResult> RunAsync<TResult>(Func<Model, TResult> work,
                                                     CancellationToken cancellationToken = default(CancellationToken))
        {
            if (work == null)
                throw new ArgumentNullException(nameof(work));
            await turns.WaitAsync(cancellationToken).ConfigureAwait(false);
            Model model;
            idle.TryDequeue(out model);  // there is one for each turn
            try
            {
                return await Task.Run(() => Run(model, work, cancellationToken), cancellationToken).ConfigureAwait(false);
            }
            finally
            {
                idle.Enqueue(model);
                turns.Release();
            }
        }

        /// <summary>Ends all host processes. Running and waiting work fails.</summary>
        public void Dispose()
        {
            isDisposed = true;
            foreach (Model model in models)
                model.Dispose();
        }

        private static async Task<Model[]> LoadAll(string path, int size, ModelOptions options,
                                                   CancellationToken cancellationToken)
        {
            if (size < 1)
                throw new ArgumentOutOfRangeException(nameof(size), size, "A pool has at least 1 model.");
            ModelOptions own = options?.Copy() ?? new ModelOptions();
            own.Host = true;
            var loads = new Task<Model>[size];
            for (int i = 0; i < size; ++i)
                loads[i] = Model.LoadAsync(path, own, cancellationToken);
            try
            {
                return await Task.WhenAll(loads).ConfigureAwait(false);
            }
            catch
            {
                foreach (Task<Model> load in loads)
                    if (load.Status == TaskStatus.RanToCompletion)
                        load.Result.Dispose();
                throw;
            }
        }

        private TResult Run<TResult>(Model model, Func<Model, TResult> work, CancellationToken cancellationToken)
        {
            model.OuterToken = cancellationToken;
            for (int tries = 0;; ++tries)
            {
                if (isDisposed)
                    throw new ObjectDisposedException(nameof(ModelPool));
                try
                {
                    if (model.NeedsRestart)
                        model.Restart(cancellationToken);
                    return work(model);
                }
                catch (HostEndedException) when (tries < Retries && !isDisposed)
                {
                    // The next try begins with a new host process.
                }
            }
        }
    }
}
