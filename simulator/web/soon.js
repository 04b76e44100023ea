// Draws when the screen is drawn anyway, and not at all while there is nothing new.

/**
 * @param draw what is to be done at a frame of the screen
 * @param interval ms at least between two times
 * @returns what asks for it, however often
 */
export function soon(draw, interval = 0) {
  let wanted = false;
  let last = -Infinity;
  const atFrame = () => requestAnimationFrame(() => {
    wanted = false;
    last = performance.now();
    draw();
  });
  return () => {
    if (wanted) return;
    wanted = true;
    const wait = last + interval - performance.now();
    if (wait > 0) setTimeout(atFrame, wait);
    else atFrame();
  };
}
