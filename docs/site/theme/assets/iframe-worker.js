// The search runs in a worker, and browsers start none for a page that was opened as a file. The same script in a frame
// without a window does.
if (location.protocol === "file:") {
  window.Worker = class extends EventTarget {
    #frame = document.createElement("iframe");
    #loaded;

    constructor(url) {
      super();
      this.#frame.hidden = true;
      document.body.append(this.#frame);
      const {contentWindow, contentDocument} = this.#frame;
      contentWindow.postMessage = (data) => this.dispatchEvent(new MessageEvent("message", {data}));
      const script = contentDocument.createElement("script");
      script.src = url;
      this.#loaded = new Promise((resolve) => (script.onload = resolve));
      contentDocument.head.append(script);
    }

    postMessage(data) {
      const {contentWindow} = this.#frame;
      this.#loaded.then(() => contentWindow.dispatchEvent(new contentWindow.MessageEvent("message", {data})));
    }
  };
}
