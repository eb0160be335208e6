// FaceFinder MODEL [PICTURE]: finds faces in a picture. MODEL is face_detection_short_range.tflite from the package
// mediapipe.
//
// The model runs in a host process. "End the host process" ends it, as a crash of the model would. The window stays.
// If "restart it" is checked, the program starts a new host process. It awaits each load and run, so the window always
// answers. The status line shows the longest pause. The program also writes status lines to the standard output.
using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.Drawing;
using System.Drawing.Drawing2D;
using System.Drawing.Imaging;
using System.Linq;
using System.Runtime.InteropServices;
using System.Threading.Tasks;
using System.Windows.Forms;
using Orvane;

internal sealed class FaceFinder : Form
{
    private const int Side = 128;  // of the model's input, [1, 128, 128, 3]

    private readonly string modelPath;
    private readonly PictureBox view = new PictureBox { Dock = DockStyle.Fill, SizeMode = PictureBoxSizeMode.Zoom };
    private readonly Label status = new Label { Dock = DockStyle.Bottom, AutoSize = false, Height = 44, Padding = new Padding(8) };
    private readonly Button open = new Button { Text = "Open a picture...", AutoSize = true };
    private readonly Button endHost = new Button { Text = "End the host process", AutoSize = true, Enabled = false };
    private readonly CheckBox newHost = new CheckBox
    {
        Text = "restart it", AutoSize = true, Margin = new Padding(8, 8, 0, 0)
    };
    private readonly Timer heartbeat = new Timer { Interval = 20 };

    private Model model;
    private Bitmap picture;
    private bool isSearching;
    private long longestPause;  // ms

    private FaceFinder(string modelPath, string picturePath)
    {
        this.modelPath = modelPath;
        Text = "Face finder";
        ClientSize = new Size(560, 640);
        var tools = new FlowLayoutPanel { Dock = DockStyle.Top, Height = 40, Padding = new Padding(4) };
        tools.Controls.AddRange(new Control[] { open, endHost, newHost });
        Controls.AddRange(new Control[] { view, status, tools });
        open.Click += async (sender, e) => await ChoosePicture();
        endHost.Click += async (sender, e) =>
        {
            model.Interrupt();
            await Search();
        };
        Shown += async (sender, e) => await Start(picturePath);
        FormClosed += (sender, e) => model?.Dispose();
        WatchPauses();
    }

    [STAThread]
    private static int Main(string[] arguments)
    {
        if (arguments.Length < 1 || arguments.Length > 2)
        {
            MessageBox.Show("Start me as: FaceFinder MODEL [PICTURE]", "Face finder");
            return 2;
        }
        Application.EnableVisualStyles();
        Application.Run(new FaceFinder(arguments[0], arguments.ElementAtOrDefault(1)));
        return 0;
    }

    private async Task Start(string picturePath)
    {
        Say("Loading the model...");
        open.Enabled = false;
        Stopwatch watch = Stopwatch.StartNew();
        try
        {
            model = await Model.LoadAsync(modelPath, new ModelOptions { Host = true, TimeLimit = TimeSpan.FromSeconds(5),
                                                                        LoadTimeLimit = TimeSpan.FromMinutes(1) });
        }
        catch (Exception exception)
        {
            Say(exception.Message);
            return;
        }
        Say($"The model was loaded in {watch.ElapsedMilliseconds} ms.");
        open.Enabled = endHost.Enabled = true;
        if (picturePath != null)
            await ShowPicture(picturePath);
    }

    private async Task ChoosePicture()
    {
        using (var dialog = new OpenFileDialog { Filter = "Pictures|*.png;*.jpg;*.jpeg;*.bmp|All files|*.*" })
            if (dialog.ShowDialog(this) == DialogResult.OK)
                await ShowPicture(dialog.FileName);
    }

    private async Task ShowPicture(string path)
    {
        try
        {
            using (Image file = Image.FromFile(path))
                picture = new Bitmap(file);  // a copy, so that the file is not locked
        }
        catch (Exception exception)
        {
            Say($"{path} is not a picture that can be opened: {exception.Message}");
            return;
        }
        view.Image = picture;
        await Search();
    }

    /// <summary>Finds the faces. If the host process has ended, starts a new one if the user wants it.</summary>
    private async Task Search()
    {
        if (isSearching || picture == null)
            return;
        isSearching = true;
        try
        {
            try
            {
                await SearchOnce();
            }
            catch (HostEndedException ended)
            {
                Say($"The host process has ended ({ended.Cause}).");
                if (!newHost.Checked)
                    return;
                await model.RestartAsync();
                Say("A new host process was started.");
                await SearchOnce();
            }
        }
        catch (ObjectDisposedException)
        {
            // The user has closed the window.
        }
        catch (OrvaneException exception)
        {
            Say(exception.Message);
        }
        finally
        {
            isSearching = false;
        }
    }

    private async Task SearchOnce()
    {
        Stopwatch watch = Stopwatch.StartNew();
        model.SetInput(0, Pixels(picture));
        await model.RunAsync();
        List<RectangleF> faces = Faces(model.GetOutput<float>(0), model.GetOutput<float>(1));
        var drawn = new Bitmap(picture);
        using (Graphics graphics = Graphics.FromImage(drawn))
        using (var pen = new Pen(Color.Lime, 4))
            foreach (RectangleF face in faces)
                graphics.DrawRectangle(pen, face.X * drawn.Width, face.Y * drawn.Height, face.Width * drawn.Width,
                                       face.Height * drawn.Height);
        view.Image = drawn;
        Say($"{faces.Count} {(faces.Count == 1 ? "face" : "faces")} in {watch.ElapsedMilliseconds} ms. " +
            $"Longest pause of this window: {longestPause} ms.");
    }

    /// <summary>Returns the model's input: red, green and blue of each pixel, from -1 to 1.</summary>
    private static float[] Pixels(Bitmap picture)
    {
        using (var small = new Bitmap(Side, Side, PixelFormat.Format24bppRgb))
        {
            using (Graphics graphics = Graphics.FromImage(small))
            {
                graphics.InterpolationMode = InterpolationMode.HighQualityBilinear;
                graphics.DrawImage(picture, 0, 0, Side, Side);
            }
            var bytes = new byte[Side * Side * 3];  // blue, green, red; the rows have no gaps
            BitmapData data = small.LockBits(new Rectangle(0, 0, Side, Side), ImageLockMode.ReadOnly, small.PixelFormat);
            Marshal.Copy(data.Scan0, bytes, 0, bytes.Length);
            small.UnlockBits(data);
            var pixels = new float[bytes.Length];
            for (int i = 0; i < bytes.Length; ++i)
                pixels[i] = bytes[i - i % 3 + 2 - i % 3] / 127.5f - 1;
            return pixels;
        }
    }

    /// <summary>Returns the boxes of the faces, relative to the picture's size, the best first.</summary>
    private static List<RectangleF> Faces(float[] boxes, float[] scores)
    {
        var faces = new List<RectangleF>();
        List<PointF> anchors = Anchors();
        foreach (int i in Enumerable.Range(0, scores.Length).Where(i => scores[i] > 0).OrderByDescending(i => scores[i]))
        {
            float width = boxes[i * 16 + 2] / Side, height = boxes[i * 16 + 3] / Side;
            var face = new RectangleF(anchors[i].X + boxes[i * 16] / Side - width / 2,
                                      anchors[i].Y + boxes[i * 16 + 1] / Side - height / 2, width, height);
            if (!faces.Any(other => ShareMuch(face, other)))
                faces.Add(face);
        }
        return faces;
    }

    /// <summary>Where the model looks: two per cell of a 16 x 16 grid, then six per cell of 8 x 8.</summary>
    private static List<PointF> Anchors()
    {
        var anchors = new List<PointF>();
        foreach (int cells in new[] { 16, 8 })
            for (int cell = 0; cell < cells * cells; ++cell)
                anchors.AddRange(Enumerable.Repeat(
                    new PointF((cell % cells + 0.5f) / cells, (cell / cells + 0.5f) / cells), cells == 16 ? 2 : 6));
        return anchors;
    }

    private static bool ShareMuch(RectangleF a, RectangleF b)
    {
        RectangleF common = RectangleF.Intersect(a, b);
        float shared = common.Width * common.Height;
        return shared > 0.3f * (a.Width * a.Height + b.Width * b.Height - shared);
    }

    private void Say(string text)
    {
        status.Text = text;
        Console.WriteLine(text);
    }

    /// <summary>Measures the longest time in which the window did not answer.</summary>
    private void WatchPauses()
    {
        Stopwatch watch = Stopwatch.StartNew();
        heartbeat.Tick += (sender, e) =>
        {
            longestPause = Math.Max(longestPause, watch.ElapsedMilliseconds);
            watch.Restart();
        };
        Shown += (sender, e) => heartbeat.Start();
    }
}
