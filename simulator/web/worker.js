// Shares one stream among the windows that are seen.
import { Stream } from './stream.js';

const windows = new Set();
const stream = new Stream((...news) => windows.forEach((port) => port.postMessage(news)));

self.onconnect = ({ ports: [port] }) => {
  port.onmessage = ({ data: watches }) => {
    if (watches) windows.add(port);
    else windows.delete(port);
    if (watches) stream.open();
    else if (!windows.size) stream.close();
  };
};
