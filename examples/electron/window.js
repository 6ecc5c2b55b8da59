for (const button of document.querySelectorAll('button')) {
  button.addEventListener('click', () => window.record(button.id));
}
