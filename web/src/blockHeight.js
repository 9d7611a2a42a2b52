// The page lets the engine skip the styles and layout of file blocks out of
// view (content-visibility: auto in page.html): thousands of lines in shadow
// roots otherwise cost seconds before anything is drawn. Until a block has
// been in view it takes the height given here, worked out from the rows that
// @pierre/diffs draws for the file, so the scroll bar and the jumps to a file
// land close to where they would with every block laid out.
const LINE_PX = 20; // a row: --diffs-line-height
const SEPARATOR_PX = 32; // the 'line-info' separator over skipped lines
const FRAME_PX = 51; // the sticky header, the library's header, the code's padding

export function estimatedBlockHeight(file) {
  let height = FRAME_PX;
  for (const hunk of file.hunks) {
    height += hunk.splitLineCount * LINE_PX;
    if (hunk.collapsedBefore > 0) height += SEPARATOR_PX;
  }
  return height;
}
